// The real binary on the virtual card, driven with a real input tool: it runs full screen on a
// private Xvfb display, xdotool taps and drags, and the card's journal and the settings file show
// what reached them.
//
// The binary keeps its settings in the fixed /var/lib/equalizer, so it runs in a mount namespace
// of its own with a tmpfs there: the machine's folder is never read or written. The test reads the
// binary's settings file through /proc/PID/root while the binary runs.
//
// Where to tap comes from the same scene loaded in this process at the same size: the layout
// depends on the screen size and the fonts only, which both processes share.

#include "viewer/qtquick2applicationviewer.h"
#include "app/startup.h"
#include "equalizer/equalizer.h"
#include "support/virtualcard.h"

#include <QQuickItem>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

namespace {

const QSize screen(1280, 720);

// Mounts a tmpfs for the settings folder (over /var/lib when the folder does not exist, so that
// nothing is created on the machine), puts the seed settings file in it and becomes the binary.
const char privateSettings[] = R"(
if [ -d /var/lib/equalizer ]; then
    mount -t tmpfs -o mode=0755 tmpfs /var/lib/equalizer || exit 97
else
    mount -t tmpfs -o mode=0755 tmpfs /var/lib || exit 97
    mkdir /var/lib/equalizer || exit 97
fi
cp "$1" /var/lib/equalizer/Equalizer.conf || exit 98
exec "$2"
)";

QRectF sceneRect(const QQuickItem *item)
{
    return item->mapRectToScene(QRectF(0, 0, item->width(), item->height()));
}

bool run(const QString &program, const QStringList &args, QByteArray *out = nullptr)
{
    QProcess process;
    process.start(program, args);
    if (!process.waitForFinished(30000) || process.exitStatus() != QProcess::NormalExit)
        return false;
    if (out)
        *out = process.readAllStandardOutput();
    return process.exitCode() == 0;
}

// Where the scene puts things at the unit's screen size.
class Layout
{
public:
    bool load()
    {
        paths.settingsFile = dir.filePath(QStringLiteral("Equalizer.conf"));
        paths.settingsLock = dir.filePath(QStringLiteral("Equalizer.conf.lock"));
        paths.keyDevice = dir.filePath(QStringLiteral("no-key-device"));
        QSettings(paths.settingsFile, QSettings::NativeFormat).setValue(QStringLiteral("DebugLevel"), 0);
        eq = std::make_unique<Equalizer>(nullptr, paths);
        viewer = std::make_unique<QtQuick2ApplicationViewer>();
        Startup::publish(*viewer, *eq);
        viewer->resize(screen);
        const QByteArray scene = qgetenv("EQ_BUILD_DIR") + "/usr/share/qml/equalizer/Equalizer_New.qml";
        Startup::loadScene(*viewer, scene.constData());
        viewer->show();
        return viewer->status() == QQuickView::Ready && QTest::qWaitForWindowExposed(viewer.get());
    }
    void showPage(int page)
    {
        viewer->rootObject()->setProperty("currentPage", page);
        QCoreApplication::processEvents();
    }
    QQuickItem *item(const QString &name) const
    {
        QList<QQuickItem *> pending{viewer->contentItem()};
        while (!pending.isEmpty()) {
            QQuickItem *candidate = pending.takeFirst();
            if (candidate->objectName() == name)
                return candidate;
            pending << candidate->childItems();
        }
        return nullptr;
    }
    QPoint centre(const QString &name) const
    {
        const QQuickItem *target = item(name);
        return target ? sceneRect(target).center().toPoint() : QPoint(-1, -1);
    }
    // The centre of a band slider's handle when it shows a gain.
    QPointF bandHandleAt(int band, int db) const
    {
        QQuickItem *column = item(QStringLiteral("band%1").arg(band));
        QVariant y;
        if (!column || !QMetaObject::invokeMethod(column, "yAt", Q_RETURN_ARG(QVariant, y), Q_ARG(QVariant, db)))
            return QPointF(-1, -1);
        return column->mapToScene(QPointF(column->width() / 2, y.toReal()));
    }

private:
    QTemporaryDir dir;
    EqualizerPaths paths;
    std::unique_ptr<Equalizer> eq;
    std::unique_ptr<QtQuick2ApplicationViewer> viewer;
};

} // namespace

class TestEndToEnd : public QObject
{
    Q_OBJECT

private:
    void startDisplay();
    void startBinary(const QString &seedFile);
    void xdotool(const QStringList &args);
    void tap(QPoint at);
    QVariant stored(const QString &key) const;
    QStringList newJournal();

    QTemporaryDir work;
    QProcess xvfb;
    QProcess windowManager;
    QProcess binary;
    QString display;
    std::unique_ptr<VirtualCard> card;
    int journalSeen = 0;

private slots:
    void initTestCase();
    void cleanupTestCase();
    void presetDragSpeakersAndSweetSpot();
};

void TestEndToEnd::initTestCase()
{
    for (const char *tool : {"Xvfb", "xdotool", "unshare"})
        if (QStandardPaths::findExecutable(QString::fromLatin1(tool)).isEmpty())
            QSKIP(qPrintable(QStringLiteral("%1 is not installed").arg(QString::fromLatin1(tool))));
    if (!run(QStringLiteral("unshare"), {"-m", "--propagation", "private", "true"}))
        QSKIP("unshare -m is not permitted here (it needs root or CAP_SYS_ADMIN); without a private "
              "mount namespace the binary would use the machine's own /var/lib/equalizer");
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(work.path()));
    qputenv("QT_QUICK_BACKEND", "software");
    card = std::make_unique<VirtualCard>();
    QVERIFY2(card->isValid(), qPrintable(card->errorString()));
}

void TestEndToEnd::cleanupTestCase()
{
    for (QProcess *process : {&binary, &windowManager, &xvfb}) {
        if (process->state() != QProcess::NotRunning) {
            process->terminate();
            if (!process->waitForFinished(5000))
                process->kill();
            process->waitForFinished(5000);
        }
    }
    card.reset();
}

// Xvfb picks a free display itself and writes its number once it accepts clients.
void TestEndToEnd::startDisplay()
{
    xvfb.start(QStringLiteral("Xvfb"), {"-displayfd", "1", "-screen", "0", "1280x720x24", "-nolisten", "tcp"});
    QVERIFY(xvfb.waitForStarted());
    QTRY_VERIFY_WITH_TIMEOUT(xvfb.canReadLine() || xvfb.state() == QProcess::NotRunning, 20000);
    display = QLatin1Char(':') + QString::fromLatin1(xvfb.readLine().trimmed());
    QVERIFY2(display.size() > 1, qPrintable(QString::fromLocal8Bit(xvfb.readAllStandardError())));
    // For xdotool and the window manager; this process itself stays on the offscreen platform.
    qputenv("DISPLAY", display.toLatin1());

    // A kiosk window manager, as on the unit, so that full screen is a real window state.
    if (!QStandardPaths::findExecutable(QStringLiteral("matchbox-window-manager")).isEmpty()) {
        windowManager.start(QStringLiteral("matchbox-window-manager"), {"-use_titlebar", "no"});
        QVERIFY(windowManager.waitForStarted());
    }
}

void TestEndToEnd::startBinary(const QString &seedFile)
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    env.remove(QStringLiteral("QT_QUICK_BACKEND"));
    binary.setProcessEnvironment(env);
    binary.setProcessChannelMode(QProcess::MergedChannels);
    binary.setStandardOutputFile(work.filePath(QStringLiteral("equalizer.log")));
    const QString program = qEnvironmentVariable("EQ_BUILD_DIR") + QStringLiteral("/bin/equalizer");
    binary.start(QStringLiteral("unshare"), {"-m", "--propagation", "private", "sh", "-c",
                                             QString::fromLatin1(privateSettings), "sh", seedFile, program});
    QVERIFY(binary.waitForStarted());

    QByteArray windows;
    QTRY_VERIFY_WITH_TIMEOUT(binary.state() == QProcess::NotRunning
                                     || run(QStringLiteral("xdotool"), {"search", "--onlyvisible", "--classname", "equalizer"}, &windows),
                             60000);
    QVERIFY2(binary.state() == QProcess::Running, "the binary ended before it showed its window; see equalizer.log");
    QByteArray geometry;
    const QString window = QString::fromLatin1(windows.split('\n').first());
    QTRY_VERIFY_WITH_TIMEOUT(run(QStringLiteral("xdotool"), {"getwindowgeometry", "--shell", window}, &geometry)
                                     && geometry.contains("X=0\nY=0\nWIDTH=1280\nHEIGHT=720"),
                             20000);
    QTest::qWait(1500); // the first frames
}

void TestEndToEnd::xdotool(const QStringList &args)
{
    QVERIFY2(run(QStringLiteral("xdotool"), args), qPrintable(args.join(QLatin1Char(' '))));
}

void TestEndToEnd::tap(QPoint at)
{
    QVERIFY(at.x() >= 0 && at.y() >= 0);
    xdotool({"mousemove", QString::number(at.x()), QString::number(at.y()), "click", "1"});
}

QVariant TestEndToEnd::stored(const QString &key) const
{
    const QString file = QStringLiteral("/proc/%1/root/var/lib/equalizer/Equalizer.conf").arg(binary.processId());
    return QSettings(file, QSettings::NativeFormat).value(key);
}

// The journal lines written since the last call.
QStringList TestEndToEnd::newJournal()
{
    const QStringList journal = card->journal();
    const QStringList fresh = journal.mid(journalSeen);
    journalSeen = journal.size();
    return fresh;
}

void TestEndToEnd::presetDragSpeakersAndSweetSpot()
{
    Layout layout;
    QVERIFY2(layout.load(), "the scene does not load in the test process");
    const QPoint rock = layout.centre(QStringLiteral("preset:Rock"));
    const QPoint spk2 = layout.centre(QStringLiteral("speakers:Spk2"));
    const QPointF band3 = layout.bandHandleAt(3, -2);
    const qreal band3End = layout.bandHandleAt(3, 2).y();
    const QPoint soundField = layout.centre(QStringLiteral("rail:soundField"));
    layout.showPage(1);
    const QPoint seat3 = layout.centre(QStringLiteral("seat3"));
    QVERIFY(band3.y() - band3End > 8);

    // "Rock" as a user saved it earlier: bands 1 to 3 changed, the rest flat.
    const QString seed = work.filePath(QStringLiteral("seed.conf"));
    {
        QSettings settings(seed, QSettings::NativeFormat);
        QVariantHash rockGains;
        const QStringList names{"60", "170", "310", "600", "1k", "3k", "6k", "12k", "14k", "16k"};
        for (const QString &name : names)
            rockGains.insert(name, 0);
        rockGains.insert(QStringLiteral("60"), 5);
        rockGains.insert(QStringLiteral("170"), 3);
        rockGains.insert(QStringLiteral("310"), -2);
        settings.setValue(QStringLiteral("Rock"), rockGains);
        settings.setValue(QStringLiteral("DebugLevel"), 0);
    }

    startDisplay();
    if (QTest::currentTestFailed())
        return;
    startBinary(seed);
    if (QTest::currentTestFailed())
        return;
    card->clearLogs();

    // Tap "Rock": its three bands go to the card, and the preset is remembered.
    tap(rock);
    QTRY_COMPARE_WITH_TIMEOUT(card->journal().size(), 3, 10000);
    QCOMPARE(newJournal(), (QStringList{"User PEQ Band1 Gain=65", "User PEQ Band2 Gain=63", "User PEQ Band3 Gain=58"}));
    QTRY_COMPARE(stored(QStringLiteral("PresetedId")).toInt(), 1);

    // Drag band 3 of "User" four decibels up: one write per decibel, and no preset any more.
    QPointF at = band3;
    xdotool({"mousemove", QString::number(qRound(at.x())), QString::number(qRound(at.y())), "mousedown", "1"});
    const qreal endY = band3End;
    while (at.y() > endY) {
        at.ry() = qMax(endY, at.y() - 2);
        xdotool({"mousemove", QString::number(qRound(at.x())), QString::number(qRound(at.y()))});
        QTest::qWait(100);
    }
    xdotool({"mouseup", "1"});
    QTRY_VERIFY_WITH_TIMEOUT(card->journal().contains(QStringLiteral("User PEQ Band3 Gain=62")), 10000);
    QTest::qWait(300);
    // Each write a new whole decibel on the way up. A busy window may merge pointer motions, so a
    // value can be skipped, but none is written twice and the last is where the finger stopped.
    const QStringList drag = newJournal();
    QVERIFY2(!drag.isEmpty() && drag.last() == QStringLiteral("User PEQ Band3 Gain=62"), qPrintable(drag.join(QLatin1Char(','))));
    int previous = 58;
    for (const QString &line : drag) {
        QVERIFY2(line.startsWith(QStringLiteral("User PEQ Band3 Gain=")), qPrintable(line));
        const int value = line.section(QLatin1Char('='), 1).toInt();
        QVERIFY2(value > previous, qPrintable(drag.join(QLatin1Char(','))));
        previous = value;
    }
    QTRY_COMPARE(stored(QStringLiteral("PresetedId")).toInt(), -1);

    // Switch to "Spk2": its gains are read, nothing is written.
    tap(spk2);
    QTRY_VERIFY_WITH_TIMEOUT(card->commands().filter(QStringLiteral("sget \"Spk2 PEQ Band10 Gain\"")).size() == 1, 10000);
    QCOMPARE(newJournal(), QStringList());

    // Sweet spot 3 from the cabin: the four delays of the table, and the choice remembered.
    tap(soundField);
    tap(seat3);
    QTRY_COMPARE_WITH_TIMEOUT(card->journal().size(), journalSeen + 4, 10000);
    QCOMPARE(newJournal(), (QStringList{"Music Chan1 Delay=203", "Music Chan2 Delay=272",
                                        "Music Chan3 Delay=91", "Music Chan4 Delay=203"}));
    QTRY_COMPARE(stored(QStringLiteral("Sweetspot")).toInt(), 3);

    // The settings file as the user leaves it: "Rock" as it was, the start-up profile, no preset.
    QCOMPARE(stored(QStringLiteral("ProfileId")).toInt(), 2);
    QCOMPARE(stored(QStringLiteral("PresetedId")).toInt(), -1);
    QCOMPARE(stored(QStringLiteral("Rock")).toHash().value(QStringLiteral("310")).toInt(), -2);
    QVERIFY(binary.state() == QProcess::Running);
}

QTEST_MAIN(TestEndToEnd)
#include "tst_e2e.moc"

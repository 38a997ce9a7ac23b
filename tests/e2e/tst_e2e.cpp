// The pieces meet: the real binary on the virtual card, full screen on a private X display under a
// kiosk window manager, driven by a real input tool. A preset tap and a band drag reach the card
// and the settings file, and the minimise button hands the screen back.
//
// The binary keeps its settings in the fixed /var/lib/equalizer, so it runs in a mount namespace of
// its own with a tmpfs there: the machine's folder is never read or written. The test reads the
// binary's settings file through /proc/PID/root. Where to tap comes from the same scene loaded in
// this process at the same size. The binary's output of the last run stays in the build tree
// (Testing/e2e-equalizer.log).

#include "support/scenefixture.h"
#include "support/virtualcard.h"
#include "support/xserver.h"

#include <QSettings>
#include <QStandardPaths>
#include <QtTest>

namespace {

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

QByteArray run(const QString &program, const QStringList &args, bool *ok = nullptr)
{
    QProcess process;
    process.start(program, args);
    const bool done = process.waitForFinished(30000) && process.exitStatus() == QProcess::NormalExit
                      && process.exitCode() == 0;
    if (ok)
        *ok = done;
    return process.readAllStandardOutput();
}

} // namespace

class TestEndToEnd : public QObject
{
    Q_OBJECT

    QTemporaryDir work;
    QString log;
    QProcess binary;

    QByteArray output() const
    {
        QFile file(log);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    QString why() const { return QStringLiteral("the program's output is in ") + log; }
    QVariant stored(const QString &key) const
    {
        return QSettings(QStringLiteral("/proc/%1/root/var/lib/equalizer/Equalizer.conf").arg(binary.processId()),
                         QSettings::NativeFormat).value(key);
    }
    void xdotool(const QStringList &args)
    {
        bool ok;
        run(QStringLiteral("xdotool"), args, &ok);
        QVERIFY2(ok, qPrintable(args.join(QLatin1Char(' '))));
    }

private slots:
    void initTestCase()
    {
        for (const char *tool : {"Xvfb", "xdotool", "xprop", "matchbox-window-manager", "unshare"})
            if (QStandardPaths::findExecutable(QString::fromLatin1(tool)).isEmpty())
                QSKIP(qPrintable(QStringLiteral("%1 is not installed").arg(QString::fromLatin1(tool))));
        QProcess unshare;
        unshare.start(QStringLiteral("unshare"), {"-m", "--propagation", "private", "true"});
        if (!unshare.waitForFinished(10000) || unshare.exitCode() != 0)
            QSKIP(qPrintable(QStringLiteral("no private mount namespace for the settings folder: unshare -m says \"%1\"")
                                     .arg(QString::fromLocal8Bit(unshare.readAllStandardError().trimmed()))));
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(work.path()));
        qputenv("QT_QUICK_BACKEND", "software");
        log = qEnvironmentVariable("EQ_BUILD_DIR") + QStringLiteral("/Testing/e2e-equalizer.log");
        QDir().mkpath(QFileInfo(log).path());
    }

    void cleanupTestCase()
    {
        if (binary.state() != QProcess::NotRunning) {
            binary.terminate();
            if (!binary.waitForFinished(5000))
                binary.kill();
            binary.waitForFinished(5000);
        }
    }

    void presetDragAndMinimise()
    {
        VirtualCard card;
        QVERIFY2(card.isValid(), qPrintable(card.errorString()));
        SceneFixture layout;
        QVERIFY2(layout.load(QSize(1280, 720)), qPrintable(layout.errorString()));
        const QPoint rock = layout.centre(QStringLiteral("preset:Rock"));
        const QPoint minimise = layout.centre(QStringLiteral("minimize"));
        const QPointF band3 = layout.bandHandleAt(3, -2);
        const qreal band3End = layout.bandHandleAt(3, 2).y();
        QVERIFY(rock.x() >= 0 && minimise.x() >= 0 && band3.y() - band3End > 8);

        // "Rock" as a user saved it earlier: bands 1 to 3 changed, the rest flat (a band missing
        // from a preset is flat).
        const QString seed = work.filePath(QStringLiteral("seed.conf"));
        {
            QSettings settings(seed, QSettings::NativeFormat);
            settings.setValue(QStringLiteral("Rock"), QVariantHash{{"60", 5}, {"170", 3}, {"310", -2}});
            settings.setValue(QStringLiteral("DebugLevel"), 0);
        }

        XServer x;
        QVERIFY2(x.start(), qPrintable(x.errorString()));
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
        env.remove(QStringLiteral("QT_QUICK_BACKEND"));
        // The render loop's timing line marks every frame the binary shows.
        env.insert(QStringLiteral("QT_LOGGING_RULES"), QStringLiteral("qt.scenegraph.time.renderloop=true"));
        binary.setProcessEnvironment(env);
        binary.setProcessChannelMode(QProcess::MergedChannels);
        binary.setStandardOutputFile(log);
        binary.start(QStringLiteral("unshare"), {"-m", "--propagation", "private", "sh", "-c",
                                                 QString::fromLatin1(privateSettings), "sh", seed,
                                                 qEnvironmentVariable("EQ_BUILD_DIR") + QStringLiteral("/bin/equalizer")});
        QVERIFY(binary.waitForStarted());

        // Up when its full-screen window has shown a frame; a binary that ends says why in its log.
        QString window;
        const auto fullScreen = [&] {
            if (window.isEmpty())
                window = QString::fromLatin1(run(QStringLiteral("xdotool"), {"search", "--onlyvisible", "--classname", "equalizer"}).split('\n').first());
            return !window.isEmpty()
                   && run(QStringLiteral("xprop"), {"-id", window, "_NET_WM_STATE"}).contains("_NET_WM_STATE_FULLSCREEN");
        };
        QTRY_VERIFY2_WITH_TIMEOUT(binary.state() == QProcess::NotRunning || (fullScreen() && output().contains("renderloop")),
                                  qPrintable(why()), 120000);
        QVERIFY2(binary.state() == QProcess::Running, qPrintable("the program ended before it showed its window; " + why()));
        card.clearLogs();

        // Tap "Rock": its three bands go to the card, and the preset is remembered.
        xdotool({"mousemove", QString::number(rock.x()), QString::number(rock.y()), "click", "1"});
        QTRY_COMPARE_WITH_TIMEOUT(card.journal(), (QStringList{"User PEQ Band1 Gain=65", "User PEQ Band2 Gain=63", "User PEQ Band3 Gain=58"}), 20000);
        QTRY_COMPARE(stored(QStringLiteral("PresetedId")).toInt(), 1);

        // Drag band 3 four decibels up. A busy window may merge pointer motions, so a value can be
        // skipped, but only band 3 is written, no value twice, and the last is where the finger
        // stopped.
        card.clearLogs();
        QPointF at = band3;
        xdotool({"mousemove", QString::number(qRound(at.x())), QString::number(qRound(at.y())), "mousedown", "1"});
        while (at.y() > band3End) {
            at.ry() = qMax(band3End, at.y() - 2);
            xdotool({"mousemove", QString::number(qRound(at.x())), QString::number(qRound(at.y()))});
        }
        xdotool({"mouseup", "1"});
        QTRY_VERIFY_WITH_TIMEOUT(card.journal().contains(QStringLiteral("User PEQ Band3 Gain=62")), 20000);
        QTRY_COMPARE(stored(QStringLiteral("PresetedId")).toInt(), -1);
        const QStringList drag = card.journal();
        QVERIFY2(drag.last() == QStringLiteral("User PEQ Band3 Gain=62") && drag.filter(QStringLiteral("Band3 Gain")).size() == drag.size()
                     && QSet<QString>(drag.cbegin(), drag.cend()).size() == drag.size(), qPrintable(drag.join(',')));

        // Minimise: the window leaves full screen for the activity manager's next choice.
        xdotool({"mousemove", QString::number(minimise.x()), QString::number(minimise.y()), "click", "1"});
        QTRY_VERIFY_WITH_TIMEOUT(!fullScreen(), 20000);
        QVERIFY2(binary.state() == QProcess::Running, qPrintable(why()));
    }
};

QTEST_MAIN(TestEndToEnd)
#include "tst_e2e.moc"

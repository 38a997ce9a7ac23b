// The installed scene, loaded by the real viewer against the real controller on the virtual card:
// it must load and show every page without a single QML warning, fit the screen sizes of the unit,
// and send the card exactly what the finger asked for.

#include "viewer/qtquick2applicationviewer.h"
#include "app/startup.h"
#include "equalizer/equalizer.h"
#include "support/virtualcard.h"

#include <QAccessible>
#include <QQuickItem>
#include <QSignalSpy>
#include <QSettings>
#include <QStyleHints>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

namespace {

QStringList messages;

// Every warning of the process fails the test that caused it: QML reports binding errors, missing
// properties and failed imports as warnings and carries on.
void collectWarnings(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    if (type != QtDebugMsg && type != QtInfoMsg)
        messages << text;
}

bool inherits(const QObject *object, const char *className)
{
    for (const QMetaObject *mo = object->metaObject(); mo; mo = mo->superClass())
        if (qstrcmp(mo->className(), className) == 0)
            return true;
    return false;
}

bool shown(const QQuickItem *item)
{
    return item->isVisible() && item->opacity() > 0 && item->width() > 0 && item->height() > 0;
}

QRectF sceneRect(const QQuickItem *item)
{
    return item->mapRectToScene(QRectF(0, 0, item->width(), item->height()));
}

void collect(QQuickItem *item, QList<QQuickItem *> &controls, QList<QQuickItem *> &texts)
{
    if (!shown(item))
        return;
    const QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(item);
    if (inherits(item, "QQuickAbstractButton") || (accessible && accessible->role() == QAccessible::Slider))
        controls << item;
    if (inherits(item, "QQuickText") && !item->property("text").toString().isEmpty())
        texts << item;
    for (QQuickItem *child : item->childItems())
        collect(child, controls, texts);
}

QString describe(const QQuickItem *item)
{
    const QRectF r = sceneRect(item);
    const QString name = item->objectName().isEmpty() ? item->property("text").toString() : item->objectName();
    return QStringLiteral("%1 \"%2\" at %3,%4 %5x%6")
            .arg(QString::fromLatin1(item->metaObject()->className()), name)
            .arg(r.x()).arg(r.y()).arg(r.width()).arg(r.height());
}

} // namespace

class TestScene : public QObject
{
    Q_OBJECT

private:
    void load(QSize size, bool demo = false);
    QQuickItem *item(const QString &objectName) const;
    void tap(const QString &objectName);
    // Where a band column puts its handle's centre for a gain, in the window.
    QPointF bandHandleAt(int band, int db) const;
    // Drags from one point straight up or down to another height, a few pixels a step.
    void dragVertically(QPoint from, int toY);
    void checkLayout(const QString &page, bool largestScreen);
    QStringList journalOf(const QString &control) const;

    QTemporaryDir runtimeDir;
    std::unique_ptr<VirtualCard> card;
    std::unique_ptr<QTemporaryDir> settingsDir;
    std::unique_ptr<Equalizer> eq;
    std::unique_ptr<QtQuick2ApplicationViewer> viewer;
    QtMessageHandler previousHandler = nullptr;

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void everyPageLoadsCleanAndFits_data();
    void everyPageLoadsCleanAndFits();
    void bandDragWritesOncePerDecibel_data();
    void bandDragWritesOncePerDecibel();
    void pickerShowsWhatTheControllerReports_data();
    void pickerShowsWhatTheControllerReports();
    void accessibleControls_data();
    void accessibleControls();
    void fitPutsThePeakUnderZero_data();
    void fitPutsThePeakUnderZero();
    void presetHoldSavesAndTapApplies();
    void minimiseButtonPausesTheApplication();
    void storingAProfileAsksFirst_data();
    void storingAProfileAsksFirst();
};

void TestScene::initTestCase()
{
    // Without it Qt warns about the runtime folder, which is no fault of the scene.
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(runtimeDir.path()));
    qputenv("QT_QUICK_BACKEND", "software");
    // As with a screen reader running before the scene loads: controls set up their accessible
    // state as they are made.
    QAccessible::setActive(true);
}

void TestScene::init()
{
    card = std::make_unique<VirtualCard>();
    QVERIFY2(card->isValid(), qPrintable(card->errorString()));
    messages.clear();
    previousHandler = qInstallMessageHandler(collectWarnings);
}

void TestScene::cleanup()
{
    viewer.reset();
    eq.reset();
    settingsDir.reset();
    card.reset();
    qInstallMessageHandler(previousHandler);
}

void TestScene::load(QSize size, bool demo)
{
    settingsDir = std::make_unique<QTemporaryDir>();
    EqualizerPaths paths;
    paths.settingsFile = settingsDir->filePath(QStringLiteral("Equalizer.conf"));
    paths.settingsLock = settingsDir->filePath(QStringLiteral("Equalizer.conf.lock"));
    paths.keyDevice = settingsDir->filePath(QStringLiteral("no-key-device"));
    {
        QSettings seed(paths.settingsFile, QSettings::NativeFormat);
        seed.setValue(QStringLiteral("DebugLevel"), 0);
        seed.setValue(QStringLiteral("DemoMode"), demo);
    }
    eq = std::make_unique<Equalizer>(nullptr, paths);
    messages.clear(); // what the controller says while it starts is not the scene's
    viewer = std::make_unique<QtQuick2ApplicationViewer>();
    eq->setViewer(viewer.get());
    Startup::publish(*viewer, *eq);
    viewer->resize(size);
    const QByteArray scene = qgetenv("EQ_BUILD_DIR") + "/usr/share/qml/equalizer/Equalizer_New.qml";
    Startup::loadScene(*viewer, scene.constData());
    viewer->show();
    QVERIFY(QTest::qWaitForWindowExposed(viewer.get()));
    QStringList errors;
    for (const QQmlError &error : viewer->errors())
        errors << error.toString();
    QVERIFY2(viewer->status() == QQuickView::Ready, qPrintable(errors.join(QLatin1Char('\n'))));
    QVERIFY(viewer->rootObject());
    QCOMPARE(viewer->rootObject()->size(), QSizeF(size));
}

// Repeater and Loader items have no QObject parent, so the search follows the visual tree.
QQuickItem *TestScene::item(const QString &objectName) const
{
    QList<QQuickItem *> pending{viewer->contentItem()};
    while (!pending.isEmpty()) {
        QQuickItem *candidate = pending.takeFirst();
        if (candidate->objectName() == objectName)
            return candidate;
        pending << candidate->childItems();
    }
    qWarning("no item \"%s\"", qPrintable(objectName));
    return nullptr;
}

void TestScene::tap(const QString &objectName)
{
    QQuickItem *target = item(objectName);
    QVERIFY2(target, qPrintable(objectName));
    QVERIFY2(shown(target), qPrintable(objectName));
    QTest::mouseClick(viewer.get(), Qt::LeftButton, {}, sceneRect(target).center().toPoint());
    QTest::qWait(20);
}

QPointF TestScene::bandHandleAt(int band, int db) const
{
    QQuickItem *column = item(QStringLiteral("band%1").arg(band));
    QVariant y;
    if (!column || !QMetaObject::invokeMethod(column, "yAt", Q_RETURN_ARG(QVariant, y), Q_ARG(QVariant, db)))
        return QPointF(-1, -1);
    return column->mapToScene(QPointF(column->width() / 2, y.toReal()));
}

void TestScene::dragVertically(QPoint from, int toY)
{
    QTest::mousePress(viewer.get(), Qt::LeftButton, {}, from);
    QPoint at = from;
    while (at.y() != toY) {
        at.ry() = toY < at.y() ? qMax(toY, at.y() - 3) : qMin(toY, at.y() + 3);
        QTest::mouseMove(viewer.get(), at, 5);
    }
    QTest::mouseRelease(viewer.get(), Qt::LeftButton, {}, at);
    QTest::qWait(20);
}

QStringList TestScene::journalOf(const QString &control) const
{
    return card->journal().filter(QRegularExpression(QStringLiteral("^") + QRegularExpression::escape(control) + QStringLiteral("=")));
}

// Every control on the page has a name for screen readers, lies inside the window, is a touch
// target in both directions and overlaps no other control; no text is cut short; on the largest
// screen no text is below 18 px.
void TestScene::checkLayout(const QString &page, bool largestScreen)
{
    QList<QQuickItem *> controls, texts;
    collect(viewer->contentItem(), controls, texts);
    const QRectF window(QPointF(0, 0), viewer->size());
    QVERIFY(controls.size() > 5);
    for (QQuickItem *control : controls) {
        QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(control);
        QVERIFY2(accessible && !accessible->text(QAccessible::Name).isEmpty(), qPrintable(page + ": no name: " + describe(control)));
        if (QAccessibleValueInterface *value = accessible->valueInterface()) {
            const double min = value->minimumValue().toDouble(), max = value->maximumValue().toDouble();
            const double now = value->currentValue().toDouble();
            QVERIFY2(min < max && now >= min && now <= max && value->minimumStepSize().toDouble() == 1,
                     qPrintable(page + QStringLiteral(": %1 in %2..%3: ").arg(now).arg(min).arg(max) + describe(control)));
        }
        const QRectF r = sceneRect(control);
        QVERIFY2(window.adjusted(-0.5, -0.5, 0.5, 0.5).contains(r), qPrintable(page + ": outside: " + describe(control)));
        QVERIFY2(r.width() >= 47.5 && r.height() >= 47.5, qPrintable(page + ": too small: " + describe(control)));
        for (QQuickItem *other : controls) {
            if (other == control || control->isAncestorOf(other) || other->isAncestorOf(control))
                continue;
            QVERIFY2(!r.adjusted(0.5, 0.5, -0.5, -0.5).intersects(sceneRect(other)),
                     qPrintable(page + ": " + describe(control) + " overlaps " + describe(other)));
        }
    }
    for (QQuickItem *text : texts) {
        QVERIFY2(!text->property("truncated").toBool(), qPrintable(page + ": cut short: " + describe(text)));
        const int pixelSize = text->property("font").value<QFont>().pixelSize();
        if (largestScreen)
            QVERIFY2(pixelSize >= 18, qPrintable(page + QStringLiteral(": %1 px: ").arg(pixelSize) + describe(text)));
    }
}

void TestScene::everyPageLoadsCleanAndFits_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<bool>("demo");
    QTest::addColumn<QStringList>("pages");

    const QStringList all{"equalizer", "soundField", "bass", "voice", "profiles"};
    QTest::newRow("1280x720") << QSize(1280, 720) << false << all;
    QTest::newRow("1024x600") << QSize(1024, 600) << false << all;
    QTest::newRow("800x480") << QSize(800, 480) << false << all;
    QTest::newRow("800x480, demo mode: two pages and the badge") << QSize(800, 480) << true
                                                                 << QStringList{"equalizer", "soundField"};
}

void TestScene::everyPageLoadsCleanAndFits()
{
    QFETCH(QSize, size);
    QFETCH(bool, demo);
    QFETCH(QStringList, pages);

    load(size, demo);
    if (QTest::currentTestFailed())
        return;
    QQuickItem *badge = item(QStringLiteral("demoBadge"));
    QVERIFY(badge);
    QCOMPARE(badge->isVisible(), demo);
    for (const QString &page : QStringList{"equalizer", "soundField", "bass", "voice", "profiles"}) {
        QQuickItem *entry = item(QStringLiteral("rail:") + page);
        QVERIFY(entry);
        QCOMPARE(entry->isVisible(), pages.contains(page));
    }
    for (const QString &page : pages) {
        tap(QStringLiteral("rail:") + page);
        QQuickItem *shownPage = item(QStringLiteral("page:") + page);
        QVERIFY2(shownPage && shownPage->isVisible(), qPrintable(page));
        viewer->grabWindow(); // renders the page, canvas and shapes included
        checkLayout(page, size == QSize(1280, 720));
    }
    QVERIFY2(messages.isEmpty(), qPrintable(messages.join(QLatin1Char('\n'))));
}

void TestScene::bandDragWritesOncePerDecibel_data()
{
    QTest::addColumn<bool>("refused");
    QTest::newRow("card takes every step: one write per dB, one undo step") << false;
    QTest::newRow("card refuses band 3: no value asked twice, slider back at 0 dB") << true;
}

void TestScene::bandDragWritesOncePerDecibel()
{
    QFETCH(bool, refused);
    const QString control = QStringLiteral("User PEQ Band3 Gain");

    load(QSize(1280, 720));
    if (QTest::currentTestFailed())
        return;
    QCOMPARE(eq->gain3(), 0);
    card->clearLogs();
    if (refused)
        card->failWrites({control});

    QQuickItem *handle = item(QStringLiteral("band3:slider"))->property("handle").value<QQuickItem *>();
    const auto handleY = [&] { return handle->mapToScene(QPointF(0, handle->height() / 2)).y(); };
    QVERIFY(qAbs(handleY() - bandHandleAt(3, 0).y()) < 1);
    dragVertically(bandHandleAt(3, 0).toPoint(), qRound(bandHandleAt(3, 6).y()));

    QStringList asked;
    const QRegularExpression write(QStringLiteral("^amixer sset \"%1\" (-?\\d+)").arg(control));
    for (const QString &line : card->commands()) {
        const QRegularExpressionMatch match = write.match(line);
        if (match.hasMatch())
            asked << match.captured(1);
    }
    QVERIFY2(QStringList(asked).removeDuplicates() == 0, qPrintable(asked.join(QLatin1Char(' '))));

    if (refused) {
        QVERIFY(!asked.isEmpty());
        QCOMPARE(journalOf(control), QStringList());
        QCOMPARE(eq->gain3(), 0);
        QVERIFY(qAbs(handleY() - bandHandleAt(3, 0).y()) < 1);
        QVERIFY(!item(QStringLiteral("undo"))->isEnabled());
    } else {
        QCOMPARE(journalOf(control), (QStringList{control + "=61", control + "=62", control + "=63",
                                                   control + "=64", control + "=65", control + "=66"}));
        QCOMPARE(eq->gain3(), 6);
        QCOMPARE(item(QStringLiteral("headroom"))->property("text").toString(), QStringLiteral("+6 dB over"));
        QVERIFY(qAbs(handleY() - bandHandleAt(3, 6).y()) < 1);
        QCOMPARE(QAccessible::queryAccessibleInterface(item(QStringLiteral("band3:slider")))->text(QAccessible::Name),
                 QStringLiteral("Band 310 Hz, +6 dB"));
        card->clearLogs();
        tap(QStringLiteral("undo"));
        QCOMPARE(card->journal(), QStringList{control + "=60"});
        QCOMPARE(eq->gain3(), 0);
        QVERIFY(!item(QStringLiteral("undo"))->isEnabled());
    }
    QVERIFY2(messages.isEmpty(), qPrintable(messages.join(QLatin1Char('\n'))));
}

void TestScene::pickerShowsWhatTheControllerReports_data()
{
    QTest::addColumn<QString>("page");
    QTest::addColumn<QString>("choice");
    QTest::addColumn<QString>("failing");
    QTest::addColumn<QString>("selected");
    QTest::addColumn<QStringList>("journal");

    QTest::newRow("mode bypass taken") << "equalizer" << "mode:bypass" << ""
                                       << "mode:bypass" << QStringList{"User PEQ Switch Mode=2"};
    QTest::newRow("mode bypass refused: process stays lit") << "equalizer" << "mode:bypass" << "User PEQ Switch Mode"
                                                            << "mode:process" << QStringList{};
    QTest::newRow("clear voice off taken: both paths at 2") << "voice" << "cvc:Off" << ""
                                                            << "cvc:Off"
                                                            << QStringList{"Voicecall CVC Send Mode=2", "Voicecall CVC Recv Mode=2"};
    QTest::newRow("clear voice off refused: On stays lit") << "voice" << "cvc:Off" << "Voicecall CVC Send Mode"
                                                           << "cvc:On" << QStringList{};
    QTest::newRow("sweet spot 3 from the cabin") << "soundField" << "seat3" << ""
                                                 << "seat3"
                                                 << QStringList{"Music Chan1 Delay=203", "Music Chan2 Delay=272",
                                                                "Music Chan3 Delay=91", "Music Chan4 Delay=203"};
}

void TestScene::pickerShowsWhatTheControllerReports()
{
    QFETCH(QString, page);
    QFETCH(QString, choice);
    QFETCH(QString, failing);
    QFETCH(QString, selected);
    QFETCH(QStringList, journal);

    card->setValue(QStringLiteral("Voicecall CVC Send Mode"), 1);
    card->setValue(QStringLiteral("Voicecall CVC Recv Mode"), 1);
    load(QSize(1280, 720));
    if (QTest::currentTestFailed())
        return;
    tap(QStringLiteral("rail:") + page);
    card->clearLogs();
    if (!failing.isEmpty())
        card->failWrites({failing});

    tap(choice);
    QCOMPARE(card->journal(), journal);
    QQuickItem *lit = item(selected);
    QVERIFY(lit);
    QVERIFY2(QAccessible::queryAccessibleInterface(lit)->state().checked, qPrintable(selected));
    if (choice != selected) {
        QQuickItem *refused = item(choice);
        QVERIFY(!QAccessible::queryAccessibleInterface(refused)->state().checked);
    }
    QVERIFY2(messages.isEmpty(), qPrintable(messages.join(QLatin1Char('\n'))));
}

void TestScene::accessibleControls_data()
{
    QTest::addColumn<QString>("page");
    QTest::addColumn<QString>("control");
    // A slider: the controller's property it shows, its lowest and highest value. A picker or the
    // rail: the member marked as the current one.
    QTest::addColumn<QVariantList>("state");
    // An accessible action, "set:" and a value, a key pressed with the control focused, or "Tab"
    // (the controls that Tab then reaches, instead of what reached the card).
    QTest::addColumn<QString>("action");
    QTest::addColumn<QString>("failing");
    QTest::addColumn<QStringList>("journal");

    const QString band3 = QStringLiteral("User PEQ Band3 Gain");
    const QVariantList gain3{"gain3", -60, 20};
    const QStringList none;
    QTest::newRow("band 3: Increase writes +1, one undo step") << "equalizer" << "band3:slider" << gain3
                                                                << "Increase" << "" << QStringList{band3 + "=61"};
    QTest::newRow("band 3 refused: Decrease changes nothing") << "equalizer" << "band3:slider" << gain3
                                                              << "Decrease" << band3 << none;
    QTest::newRow("band 3, the Up key: one step") << "equalizer" << "band3:slider" << gain3 << "Up" << "" << QStringList{band3 + "=61"};
    QTest::newRow("band 3 set to 4.6: written as 5") << "equalizer" << "band3:slider" << gain3 << "set:4.6" << "" << QStringList{band3 + "=65"};
    QTest::newRow("band 3 set to NaN: nothing") << "equalizer" << "band3:slider" << gain3 << "set:nan" << "" << none;
    QTest::newRow("master set to 99: the highest gain") << "equalizer" << "band0:slider" << QVariantList{"masterGain", -60, 20}
                                                        << "set:99" << "" << QStringList{"User PEQ Master Gain=80"};
    QTest::newRow("Tab: the master, then the bands in order") << "equalizer" << "band0:slider" << QVariantList{"masterGain", -60, 20}
                                                               << "Tab" << "" << QStringList{"band1:slider", "band2:slider", "band3:slider"};
    QTest::newRow("volume in steps: Increase") << "equalizer" << "volume" << QVariantList{"Volume", 0, 127}
                                               << "Increase" << "" << QStringList{"Main Vol Master Gain=81"};
    QTest::newRow("crossover in Hz: the Down key") << "bass" << "dbe1:slider" << QVariantList{"DBEXoverFC", 20, 500}
                                                   << "Down" << "" << QStringList{"Music DBE Xover FC=79"};
    QTest::newRow("effect strength in %") << "bass" << "dbe3:slider" << QVariantList{"DBEEffectStrength", 0, 100} << "" << "" << none;
    QTest::newRow("delay in samples set to infinity: nothing") << "soundField" << "delay2:slider" << QVariantList{"chan2Delay", 0, 768}
                                                               << "set:inf" << "" << none;
    QTest::newRow("Fit: a button with Press") << "equalizer" << "fit" << QVariantList{} << "Press" << "" << none;
    const QStringList pickers{"speakers:User", "mode:process", "coreType:SH", "dbeMode:process", "cvc:On", "twoMic:Off",
                              "sendMode:1", "receiveMode:1", "rail:equalizer"};
    const QStringList pages{"equalizer", "equalizer", "equalizer", "bass", "voice", "voice", "voice", "voice", "equalizer"};
    for (int i = 0; i < pickers.size(); ++i) {
        const QString picker = pickers[i].section(QLatin1Char(':'), 0, 0);
        QTest::newRow(qPrintable(picker + ": the current member marked")) << pages[i] << picker << QVariantList{pickers[i]}
                                                                          << "" << "" << none;
    }
}

void TestScene::accessibleControls()
{
    QFETCH(QString, page);
    QFETCH(QString, control);
    QFETCH(QVariantList, state);
    QFETCH(QString, action);
    QFETCH(QString, failing);
    QFETCH(QStringList, journal);

    load(QSize(1280, 720));
    if (QTest::currentTestFailed())
        return;
    if (page != QLatin1String("equalizer"))
        tap(QStringLiteral("rail:") + page);
    QQuickItem *target = item(control);
    QVERIFY(target);
    QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(target);
    QVERIFY(accessible && !accessible->text(QAccessible::Name).isEmpty());
    QVERIFY(state.size() == 1 || accessible->state().focusable);
    QAccessibleValueInterface *value = accessible->valueInterface();
    const auto controllerValue = [&] { return eq->property(state.value(0).toByteArray().constData()).toDouble(); };
    if (state.size() == 3) {
        QVERIFY(value);
        QCOMPARE(value->currentValue().toDouble(), controllerValue());
        QCOMPARE(value->minimumValue().toDouble(), state[1].toDouble());
        QCOMPARE(value->maximumValue().toDouble(), state[2].toDouble());
        QCOMPARE(value->minimumStepSize().toDouble(), 1.0);
    } else if (state.size() == 1) {
        // Every member of the picker, the current one checked (a page tab: selected).
        QQuickItem *current = item(state[0].toString());
        QVERIFY(current);
        QList<QQuickItem *> members;
        for (QQuickItem *sibling : current->parentItem()->childItems())
            if (::inherits(sibling, "QQuickAbstractButton"))
                members << sibling;
        QVERIFY(members.size() > 1);
        const bool tabs = control == QLatin1String("rail");
        for (QQuickItem *member : members) {
            const QAccessibleInterface *m = QAccessible::queryAccessibleInterface(member);
            QCOMPARE(m->role(), tabs ? QAccessible::PageTab : QAccessible::RadioButton);
            QVERIFY2((tabs ? m->state().selected : m->state().checked) == (member == current), qPrintable(describe(member)));
        }
        if (tabs)
            QCOMPARE(QAccessible::queryAccessibleInterface(current->parentItem())->role(), QAccessible::PageTabList);
    }
    const double before = state.size() == 3 ? controllerValue() : 0;
    card->clearLogs();
    if (!failing.isEmpty())
        card->failWrites({failing});

    QStringList seen;
    if (action.startsWith(QLatin1String("set:"))) {
        value->setCurrentValue(action.mid(4).toDouble());
    } else if (action == QLatin1String("Up") || action == QLatin1String("Down")) {
        accessible->actionInterface()->doAction(QAccessibleActionInterface::setFocusAction());
        QTest::keyClick(viewer.get(), action == QLatin1String("Up") ? Qt::Key_Up : Qt::Key_Down);
    } else if (action == QLatin1String("Tab")) {
        target->forceActiveFocus(Qt::TabFocusReason);
        for (int i = 0; i < journal.size(); ++i) {
            QTest::keyClick(viewer.get(), Qt::Key_Tab);
            seen << viewer->activeFocusItem()->objectName();
        }
    } else if (!action.isEmpty()) {
        QVERIFY(accessible->actionInterface()->actionNames().contains(action));
        accessible->actionInterface()->doAction(action);
    }
    QTest::qWait(20);
    QCOMPARE(action == QLatin1String("Tab") ? seen : card->journal(), journal);
    if (value) {
        QCOMPARE(value->currentValue().toDouble(), controllerValue());
        QVERIFY2(accessible->text(QAccessible::Name).contains(QString::number(controllerValue())), qPrintable(accessible->text(QAccessible::Name)));
        if (journal.isEmpty() || action == QLatin1String("Tab"))
            QCOMPARE(controllerValue(), before);
    }
    if (page == QLatin1String("equalizer") && action != QLatin1String("Tab"))
        QCOMPARE(item(QStringLiteral("undo"))->isEnabled(), !journal.isEmpty() && control != QLatin1String("volume"));
    QVERIFY2(messages.isEmpty(), qPrintable(messages.join(QLatin1Char('\n'))));
}

void TestScene::fitPutsThePeakUnderZero_data()
{
    QTest::addColumn<bool>("refused");
    QTest::newRow("card takes it: one master write, one undo step") << false;
    QTest::newRow("card refuses it: readout and master stay") << true;
}

void TestScene::fitPutsThePeakUnderZero()
{
    QFETCH(bool, refused);
    const QString master = QStringLiteral("User PEQ Master Gain");

    load(QSize(800, 480));
    if (QTest::currentTestFailed())
        return;
    // The top of the README's tuning: the three highest bands add up to +7.8 dB at 14 kHz.
    for (const auto &[band, gain] : {std::pair{8, 4}, {9, 5}, {10, 4}, {0, -4}})
        QVERIFY(eq->changeGain(band, gain));
    QCOMPARE(item(QStringLiteral("headroom"))->property("text").toString(), QStringLiteral("+8 dB over"));
    card->clearLogs();
    if (refused)
        card->failWrites({master});

    tap(QStringLiteral("fit"));
    QCOMPARE(card->journal(), refused ? QStringList() : QStringList{master + "=48"});
    QCOMPARE(eq->masterGainValue(), refused ? -4 : -12);
    QCOMPARE(item(QStringLiteral("headroom"))->property("text").toString(),
             refused ? QStringLiteral("+8 dB over") : QStringLiteral("0 dB headroom"));
    QCOMPARE(item(QStringLiteral("undo"))->isEnabled(), !refused);
    if (!refused) {
        tap(QStringLiteral("undo"));
        QCOMPARE(card->journal(), (QStringList{master + "=48", master + "=56"}));
        QCOMPARE(eq->masterGainValue(), -4);
    }
    QVERIFY2(messages.isEmpty(), qPrintable(messages.join(QLatin1Char('\n'))));
}

void TestScene::presetHoldSavesAndTapApplies()
{
    load(QSize(1280, 720));
    if (QTest::currentTestFailed())
        return;
    QVERIFY(eq->changeGain(2, 5));
    QVERIFY(eq->changeGain(9, -7));

    // Hold: the gains now shown go into "Rock", with a confirmation on screen.
    QQuickItem *rock = item(QStringLiteral("preset:Rock"));
    QVERIFY(rock);
    const QPoint at = sceneRect(rock).center().toPoint();
    QTest::mousePress(viewer.get(), Qt::LeftButton, {}, at);
    QTest::qWait(qGuiApp->styleHints()->mousePressAndHoldInterval() + 300);
    QTest::mouseRelease(viewer.get(), Qt::LeftButton, {}, at);
    QTest::qWait(50);
    QCOMPARE(eq->activatedPresetIdValue(), 1);
    QVERIFY(QAccessible::queryAccessibleInterface(rock)->state().checked);
    QTRY_VERIFY(item(QStringLiteral("toast"))->isVisible());
    eq->findChild<QSettings *>()->sync();
    const QVariantHash stored = QSettings(settingsDir->filePath(QStringLiteral("Equalizer.conf")), QSettings::NativeFormat)
                                        .value(QStringLiteral("Rock")).toHash();
    QCOMPARE(stored.value(QStringLiteral("170")).toInt(), 5);
    QCOMPARE(stored.value(QStringLiteral("14k")).toInt(), -7);

    // Save, then a tap: the same without the hold.
    tap(QStringLiteral("savePreset"));
    tap(QStringLiteral("preset:Vocal"));
    QCOMPARE(eq->activatedPresetIdValue(), 2);
    eq->findChild<QSettings *>()->sync();
    QCOMPARE(QSettings(settingsDir->filePath(QStringLiteral("Equalizer.conf")), QSettings::NativeFormat)
                     .value(QStringLiteral("Vocal")).toHash().value(QStringLiteral("170")).toInt(), 5);

    // Tap after a change: the stored gains go back to the card, as one undo step.
    QVERIFY(eq->changeGain(2, 0));
    QCOMPARE(eq->activatedPresetIdValue(), -1);
    card->clearLogs();
    tap(QStringLiteral("preset:Rock"));
    QCOMPARE(card->journal(), QStringList{"User PEQ Band2 Gain=65"});
    QCOMPARE(eq->activatedPresetIdValue(), 1);
    QCOMPARE(item(QStringLiteral("undo"))->property("text").toString(), QStringLiteral("Undo (1)"));
    QVERIFY2(messages.isEmpty(), qPrintable(messages.join(QLatin1Char('\n'))));
}

void TestScene::minimiseButtonPausesTheApplication()
{
    load(QSize(1024, 600));
    if (QTest::currentTestFailed())
        return;
    QSignalSpy paused(eq.get(), &Equalizer::appPaused);
    tap(QStringLiteral("minimize"));
    QCOMPARE(paused.count(), 1);
    QCOMPARE(viewer->windowState(), Qt::WindowMaximized);
}

void TestScene::storingAProfileAsksFirst_data()
{
    QTest::addColumn<QString>("answer");
    QTest::addColumn<bool>("stored");
    QTest::newRow("confirmed: the recorded changes are stored") << "confirmDialog:confirm" << true;
    QTest::newRow("cancelled: nothing is stored") << "confirmDialog:cancel" << false;
}

void TestScene::storingAProfileAsksFirst()
{
    QFETCH(QString, answer);
    QFETCH(bool, stored);

    load(QSize(1280, 720));
    if (QTest::currentTestFailed())
        return;
    QVERIFY(eq->changeGain(4, 3));
    tap(QStringLiteral("rail:profiles"));
    tap(QStringLiteral("profile:Velto Profile:store"));
    QTRY_VERIFY(item(QStringLiteral("confirmDialog:confirm")) && shown(item(QStringLiteral("confirmDialog:confirm"))));
    viewer->grabWindow();
    checkLayout(QStringLiteral("profiles with the dialog open"), true);
    tap(answer);

    eq->findChild<QSettings *>()->sync();
    const QVariantHash commands = QSettings(settingsDir->filePath(QStringLiteral("Equalizer.conf")), QSettings::NativeFormat)
                                          .value(QStringLiteral("Velto Profile")).toHash();
    QCOMPARE(commands.value(QStringLiteral("amixer sset \"User PEQ Band4 Gain\"")).toString(),
             stored ? QStringLiteral("amixer sset \"User PEQ Band4 Gain\" 63") : QString());
    if (stored)
        QTRY_VERIFY(item(QStringLiteral("toast"))->isVisible());
    else
        QVERIFY(!item(QStringLiteral("toast"))->isVisible());
    QVERIFY2(messages.isEmpty(), qPrintable(messages.join(QLatin1Char('\n'))));
}

QTEST_MAIN(TestScene)
#include "tst_scene.moc"

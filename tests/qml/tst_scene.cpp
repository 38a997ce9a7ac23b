// The installed scene, loaded by the real viewer against the real controller on the virtual card:
// every page loads and shows without a single QML warning and fits the screen sizes of the unit;
// each control shows what the controller reports, to the eye and to screen readers, and sends the
// card exactly what the finger, the keyboard or the screen reader asked for.

#include "support/scenefixture.h"
#include "support/virtualcard.h"

#include <QAccessible>
#include <QQuickItem>
#include <QSettings>
#include <QSignalSpy>
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

bool shown(const QQuickItem *item)
{
    return item->isVisible() && item->opacity() > 0 && item->width() > 0 && item->height() > 0;
}

// A button, a choice or a page tab: what a screen reader offers to press.
bool isButton(QQuickItem *item)
{
    const QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(item);
    const QAccessible::Role role = accessible ? accessible->role() : QAccessible::NoRole;
    return role == QAccessible::Button || role == QAccessible::RadioButton || role == QAccessible::PageTab;
}

void collect(QQuickItem *item, QList<QQuickItem *> &controls, QList<QQuickItem *> &texts)
{
    if (!shown(item))
        return;
    const QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(item);
    if (isButton(item) || (accessible && accessible->role() == QAccessible::Slider))
        controls << item;
    if (item->inherits("QQuickText") && !item->property("text").toString().isEmpty())
        texts << item;
    for (QQuickItem *child : item->childItems())
        collect(child, controls, texts);
}

QString describe(const QQuickItem *item)
{
    const QRectF r = item->mapRectToScene(QRectF(0, 0, item->width(), item->height()));
    return QStringLiteral("%1 \"%2\" at %3,%4 %5x%6").arg(QString::fromLatin1(item->metaObject()->className()),
            item->objectName().isEmpty() ? item->property("text").toString() : item->objectName())
            .arg(r.x()).arg(r.y()).arg(r.width()).arg(r.height());
}

} // namespace

class TestScene : public QObject
{
    Q_OBJECT

    // One gesture, "VERB[=ARG] OBJECTNAME": a tap, a hold, a band's drag to a gain ("drag=6"), a
    // value set by a screen reader ("set=4.6"), a key ("key=Up", "key=Space"), N presses of Tab from the
    // control ("Tab=3"), or one of its accessible actions ("Increase", "Press").
    void act(const QString &step)
    {
        const QString head = step.section(QLatin1Char(' '), 0, 0), verb = head.section(QLatin1Char('='), 0, 0),
                      arg = head.section(QLatin1Char('='), 1);
        QQuickItem *target = scene->item(step.section(QLatin1Char(' '), 1));
        QVERIFY2(target, qPrintable(step));
        QTRY_VERIFY2(shown(target), qPrintable(step));
        // A frame, so that what the last step changed is laid out.
        QQuickWindow *window = scene->viewer();
        QSignalSpy frame(window, &QQuickWindow::frameSwapped);
        window->update();
        QTRY_VERIFY(!frame.isEmpty());
        QPoint at = scene->rect(target).center().toPoint();
        QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(target);
        if (verb == QLatin1String("tap")) {
            QTest::mouseClick(window, Qt::LeftButton, {}, at);
        } else if (verb == QLatin1String("hold")) {
            QSignalSpy held(target, SIGNAL(pressAndHold()));
            QTest::mousePress(window, Qt::LeftButton, {}, at);
            QTRY_COMPARE(held.count(), 1);
            QTest::mouseRelease(window, Qt::LeftButton, {}, at);
        } else if (verb == QLatin1String("drag")) {
            // From the handle of a band straight up or down to the height of a gain, a few pixels a
            // step; no value is asked twice, and the handle ends where the controller's gain puts it.
            const int band = step.section(QLatin1Char(' '), 1).section(QLatin1Char(':'), 0, 0).mid(4).toInt();
            at = scene->bandHandleAt(band, target->property("value").toInt()).toPoint();
            const int toY = qRound(scene->bandHandleAt(band, arg.toInt()).y());
            QTest::mousePress(window, Qt::LeftButton, {}, at);
            while (at.y() != toY) {
                at.ry() = toY < at.y() ? qMax(toY, at.y() - 3) : qMin(toY, at.y() + 3);
                QTest::mouseMove(window, at);
            }
            QTest::mouseRelease(window, Qt::LeftButton, {}, at);
            QStringList asked = card->commands().filter(QRegularExpression(QStringLiteral("^amixer sset ")));
            QVERIFY(!asked.isEmpty());
            QVERIFY2(asked.removeDuplicates() == 0, qPrintable(card->commands().join(QLatin1Char('\n'))));
            const QQuickItem *handle = target->property("handle").value<QQuickItem *>();
            QVERIFY(qAbs(handle->mapToScene(QPointF(0, handle->height() / 2)).y()
                         - scene->bandHandleAt(band, target->property("value").toInt()).y()) < 1);
        } else if (verb == QLatin1String("set")) {
            accessible->valueInterface()->setCurrentValue(arg.toDouble());
        } else if (verb == QLatin1String("key")) {
            accessible->actionInterface()->doAction(QAccessibleActionInterface::setFocusAction());
            QTest::keyClick(window, arg == QLatin1String("Up") ? Qt::Key_Up : arg == QLatin1String("Down") ? Qt::Key_Down : Qt::Key_Space);
        } else if (verb == QLatin1String("Tab")) {
            target->forceActiveFocus(Qt::TabFocusReason);
            for (int i = 0; i < arg.toInt(); ++i) {
                QTest::keyClick(window, Qt::Key_Tab);
                tabbed << window->activeFocusItem()->objectName();
            }
        } else {
            QVERIFY2(accessible->actionInterface()->actionNames().contains(verb), qPrintable(step));
            accessible->actionInterface()->doAction(verb);
        }
    }
    // "OBJECTNAME.PROPERTY" (".name": the accessible name), "settings.KEY/ENTRY" (an entry of a
    // stored hash) or "tabbed" (the controls the Tab key reached), as text.
    QString read(const QString &what) const
    {
        const QString name = what.section(QLatin1Char('.'), 0, 0), property = what.section(QLatin1Char('.'), 1);
        if (name == QLatin1String("tabbed"))
            return tabbed.join(QLatin1Char(' '));
        if (name == QLatin1String("settings")) {
            scene->controller()->findChild<QSettings *>()->sync();
            return QSettings(scene->settingsFile(), QSettings::NativeFormat).value(property.section(QLatin1Char('/'), 0, 0)).toHash()
                    .value(property.section(QLatin1Char('/'), 1)).toString();
        }
        QQuickItem *target = scene->item(name);
        if (!target)
            return QStringLiteral("no item ") + name;
        if (property == QLatin1String("name"))
            return QAccessible::queryAccessibleInterface(target)->text(QAccessible::Name);
        return target->property(property.toLatin1().constData()).toString();
    }

    // Every control on the page has a name for screen readers, lies inside the window, is a touch
    // target in both directions and overlaps no other control; no text is cut short; on the largest
    // screen no text is below 18 px.
    void checkLayout(const QString &page, bool largestScreen)
    {
        QList<QQuickItem *> controls, texts;
        collect(scene->viewer()->contentItem(), controls, texts);
        const QRectF window(QPointF(0, 0), scene->viewer()->size());
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
            const QRectF r = scene->rect(control);
            QVERIFY2(window.adjusted(-0.5, -0.5, 0.5, 0.5).contains(r), qPrintable(page + ": outside: " + describe(control)));
            QVERIFY2(r.width() >= 47.5 && r.height() >= 47.5, qPrintable(page + ": too small: " + describe(control)));
            for (QQuickItem *other : controls) {
                if (other == control || control->isAncestorOf(other) || other->isAncestorOf(control))
                    continue;
                QVERIFY2(!r.adjusted(0.5, 0.5, -0.5, -0.5).intersects(scene->rect(other)),
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

    QTemporaryDir runtimeDir;
    std::unique_ptr<VirtualCard> card;
    std::unique_ptr<SceneFixture> scene;
    QStringList tabbed;
    QtMessageHandler previousHandler = nullptr;

private slots:
    void initTestCase()
    {
        // Without it Qt warns about the runtime folder, which is no fault of the scene.
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(runtimeDir.path()));
        qputenv("QT_QUICK_BACKEND", "software");
        // As with a screen reader running before the scene loads: controls set up their accessible
        // state as they are made.
        QAccessible::setActive(true);
    }

    void init()
    {
        card = std::make_unique<VirtualCard>();
        QVERIFY2(card->isValid(), qPrintable(card->errorString()));
        scene = std::make_unique<SceneFixture>();
        tabbed.clear();
        messages.clear();
        previousHandler = qInstallMessageHandler(collectWarnings);
    }

    void cleanup()
    {
        const QStringList warnings = messages; // those of the teardown are not the scene's
        scene.reset();
        card.reset();
        qInstallMessageHandler(previousHandler);
        QVERIFY2(warnings.isEmpty(), qPrintable(warnings.join(QLatin1Char('\n'))));
    }

    void pagesLoadCleanAndFit_data()
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

    // Each page the rail offers, picked on the rail, fits; the profiles page with its question open.
    void pagesLoadCleanAndFit()
    {
        QFETCH(QSize, size);
        QFETCH(bool, demo);
        QFETCH(QStringList, pages);

        QVERIFY2(scene->load(size, {{"DemoMode", demo}}), qPrintable(scene->errorString()));
        QCOMPARE(read(QStringLiteral("demoBadge.visible")), QVariant(demo).toString());
        for (const QString &page : QStringList{"equalizer", "soundField", "bass", "voice", "profiles"})
            QCOMPARE(read(QStringLiteral("rail:%1.visible").arg(page)), QVariant(pages.contains(page)).toString());
        for (const QString &page : pages) {
            act(QStringLiteral("tap rail:") + page);
            QCOMPARE(read(QStringLiteral("page:%1.visible").arg(page)), QStringLiteral("true"));
            if (page == QLatin1String("profiles"))
                act(QStringLiteral("tap profile:Velto Profile:store"));
            scene->viewer()->grabWindow(); // renders the page, canvas and shapes included
            checkLayout(page, size == QSize(1280, 720));
        }
    }

    void controls_data()
    {
        QTest::addColumn<QString>("page");
        QTest::addColumn<QString>("control");
        // A slider: the controller's property it shows, its lowest and highest value. A choice: the
        // member of its picker marked at the start (the rail: selected), each member a radio button
        // (a page tab). A button: nothing.
        QTest::addColumn<QVariantList>("state");
        QTest::addColumn<QList<QPoint>>("gains"); // band (0: the master) and gain, set before
        QTest::addColumn<QStringList>("steps");   // see act()
        QTest::addColumn<QString>("failing");     // a control whose writes the card refuses
        QTest::addColumn<QStringList>("journal");
        QTest::addColumn<QStringList>("after");   // "WHAT=TEXT", see read()

        using L = QStringList;
        using G = QList<QPoint>;
        const QString band3 = QStringLiteral("User PEQ Band3 Gain"), master = QStringLiteral("User PEQ Master Gain");
        const QVariantList gain3{"gain3", -60, 20}, masterGain{"masterGain", -60, 20}, button;
        const QString eq = QStringLiteral("equalizer");
        // The top of the README's tuning: the three highest bands add up to +7.8 dB at 14 kHz.
        const G over{{8, 4}, {9, 5}, {10, 4}, {0, -4}};
        QTest::newRow("band 3: Increase, then the Up key: a write and an undo step each") << eq << "band3:slider" << gain3 << G()
                << L{"Increase band3:slider", "key=Up band3:slider"} << "" << L{band3 + "=61", band3 + "=62"} << L{"undo.text=Undo (2)"};
        QTest::newRow("band 3 refused: Decrease changes nothing") << eq << "band3:slider" << gain3 << G()
                << L{"Decrease band3:slider"} << band3 << L{} << L{"undo.enabled=false"};
        QTest::newRow("band 3 set to 4.6, the master to 99: 5 and the highest gain") << eq << "band0:slider" << masterGain << G()
                << L{"set=4.6 band3:slider", "set=99 band0:slider"} << "" << L{band3 + "=65", master + "=80"} << L{"band3:slider.value=5"};
        QTest::newRow("band 3 dragged 6 dB up: a write per dB; the readout and the name follow") << eq << "band3:slider" << gain3
                << G() << L{"drag=6 band3:slider"} << ""
                << L{band3 + "=61", band3 + "=62", band3 + "=63", band3 + "=64", band3 + "=65", band3 + "=66"}
                << L{"headroom.text=+6 dB over", "band3:slider.name=Band 310 Hz, +6 dB", "undo.text=Undo (1)"};
        QTest::newRow("band 3 dragged, the card refusing: the handle back at 0 dB") << eq << "band3:slider" << gain3 << G()
                << L{"drag=6 band3:slider"} << band3 << L{} << L{"undo.enabled=false"};
        QTest::newRow("Tab: the master, then the bands in order") << eq << "band0:slider" << masterGain << G()
                << L{"Tab=3 band0:slider"} << "" << L{} << L{"tabbed=band1:slider band2:slider band3:slider"};
        QTest::newRow("volume in steps: Increase, no undo step") << eq << "volume" << QVariantList{"Volume", 0, 127} << G()
                << L{"Increase volume"} << "" << L{"Main Vol Master Gain=81"} << L{"undo.enabled=false"};
        QTest::newRow("Fit, pressed: one master write puts the peak at 0 dB") << eq << "fit" << button << over
                << L{"Press fit"} << "" << L{master + "=48"} << L{"headroom.text=0 dB headroom", "undo.text=Undo (1)"};
        QTest::newRow("Fit tapped, the card refusing: readout and master stay") << eq << "fit" << button << over
                << L{"tap fit"} << master << L{} << L{"headroom.text=+8 dB over", "band0:slider.value=-4", "undo.enabled=false"};
        QTest::newRow("preset held: the gains shown saved into it") << eq << "preset:Rock" << button << G{{2, -3}} << L{"hold preset:Rock"}
                << "" << L{} << L{"settings.Rock/170=-3", "preset:Rock.checked=true", "toast.name=Current gains saved to Rock"};
        QTest::newRow("Save, then a preset tapped: saved into it") << eq << "savePreset" << button << G()
                << L{"tap savePreset", "tap preset:Vocal"} << "" << L{}
                << L{"preset:Vocal.checked=true", "toast.name=Current gains saved to Vocal", "savePreset.name=Save the gains into a preset"};
        QTest::newRow("preset tapped: applied as one undo step, which Undo takes back") << eq << "preset:Rock" << button << G()
                << L{"tap preset:Rock", "tap undo"} << "" << L{"User PEQ Band2 Gain=65", "User PEQ Band2 Gain=60"} << L{"undo.enabled=false"};
        QTest::newRow("mode bypass taken with the Space key") << eq << "mode:bypass" << QVariantList{"mode:process"} << G()
                << L{"key=Space mode:bypass"} << "" << L{"User PEQ Switch Mode=2"} << L{"mode:bypass.checked=true"};
        QTest::newRow("mode bypass refused: process stays marked") << eq << "mode:bypass" << QVariantList{"mode:process"} << G()
                << L{"tap mode:bypass"} << "User PEQ Switch Mode" << L{} << L{"mode:process.checked=true", "mode:bypass.checked=false"};
        QTest::newRow("clear voice off taken: both paths at 2") << "voice" << "cvc:Off" << QVariantList{"cvc:On"} << G()
                << L{"tap cvc:Off"} << "" << L{"Voicecall CVC Send Mode=2", "Voicecall CVC Recv Mode=2"} << L{"cvc:Off.checked=true"};
        QTest::newRow("sweet spot 3 from the cabin, tapped again: still marked") << "soundField" << "seat3" << button << G()
                << L{"tap seat3", "tap seat3"} << ""
                << L{"Music Chan1 Delay=203", "Music Chan2 Delay=272", "Music Chan3 Delay=91", "Music Chan4 Delay=203"}
                << L{"seat3.checked=true", "seat3.checkable=true"};
        QTest::newRow("crossover in Hz: the Down key") << "bass" << "dbe1:slider" << QVariantList{"DBEXoverFC", 20, 500} << G()
                << L{"key=Down dbe1:slider"} << "" << L{"Music DBE Xover FC=79"} << L{};
        QTest::newRow("delay in samples set to infinity, not a number: nothing") << "soundField" << "delay2:slider"
                << QVariantList{"chan2Delay", 0, 768} << G() << L{"set=inf delay2:slider"} << "" << L{} << L{};
        const QString store = QStringLiteral("profile:Velto Profile:store"), band4 = QStringLiteral("amixer sset \"User PEQ Band4 Gain\"");
        QTest::newRow("storing a profile, confirmed: the changes stored") << "profiles" << store << button << G{{4, 3}}
                << L{"tap " + store, "tap confirmDialog:confirm"} << "" << L{}
                << L{"settings.Velto Profile/" + band4 + "=" + band4 + " 63", "toast.name=Changes stored in Velto Profile"};
        QTest::newRow("storing a profile, cancelled: nothing stored") << "profiles" << store << button << G{{4, 3}}
                << L{"tap " + store, "tap confirmDialog:cancel"} << "" << L{} << L{"settings.Velto Profile/" + band4 + "=", "toast.name="};
        const QStringList marked{"speakers:User", "coreType:SH", "dbeMode:process", "twoMic:Off", "sendMode:1", "receiveMode:1",
                                 "rail:equalizer"};
        const QStringList pages{eq, eq, "bass", "voice", "voice", "voice", eq};
        for (int i = 0; i < marked.size(); ++i)
            QTest::newRow(qPrintable(marked[i] + " marked")) << pages[i] << marked[i] << QVariantList{marked[i]} << G() << L{} << "" << L{} << L{};
    }

    void controls()
    {
        QFETCH(QString, page);
        QFETCH(QString, control);
        QFETCH(QVariantList, state);
        QFETCH(QList<QPoint>, gains);
        QFETCH(QStringList, steps);
        QFETCH(QString, failing);
        QFETCH(QStringList, journal);
        QFETCH(QStringList, after);

        // "Rock" as saved earlier: band 2 at +5, the others flat.
        QVERIFY2(scene->load(QSize(1280, 720), {{"Rock", QVariantHash{{"170", 5}}}}), qPrintable(scene->errorString()));
        Equalizer *eq = scene->controller();
        for (const QPoint &gain : gains)
            QVERIFY(eq->changeGain(gain.x(), gain.y()));
        if (page != QLatin1String("equalizer"))
            act(QStringLiteral("tap rail:") + page);
        QQuickItem *target = scene->item(control);
        QVERIFY2(target, qPrintable(control));
        QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(target);
        QVERIFY(accessible && !accessible->text(QAccessible::Name).isEmpty() && accessible->state().focusable);
        QAccessibleValueInterface *value = accessible->valueInterface();
        const auto controllerValue = [&] { return eq->property(state.value(0).toByteArray().constData()).toDouble(); };
        if (state.size() == 3) {
            QVERIFY(value);
            QCOMPARE((QList<double>{value->currentValue().toDouble(), value->minimumValue().toDouble(),
                                    value->maximumValue().toDouble(), value->minimumStepSize().toDouble()}),
                     (QList<double>{controllerValue(), state[1].toDouble(), state[2].toDouble(), 1}));
        } else if (state.size() == 1) {
            QQuickItem *current = scene->item(state[0].toString());
            QVERIFY(current);
            const bool tabs = control.startsWith(QLatin1String("rail:"));
            int members = 0;
            for (QQuickItem *member : current->parentItem()->childItems()) {
                if (!isButton(member))
                    continue;
                const QAccessibleInterface *m = QAccessible::queryAccessibleInterface(member);
                QCOMPARE(m->role(), tabs ? QAccessible::PageTab : QAccessible::RadioButton);
                QVERIFY2((tabs ? m->state().selected : m->state().checked) == (member == current), qPrintable(describe(member)));
                ++members;
            }
            QVERIFY(members > 1);
            if (tabs)
                QCOMPARE(QAccessible::queryAccessibleInterface(current->parentItem())->role(), QAccessible::PageTabList);
        }
        card->clearLogs();
        if (!failing.isEmpty())
            card->failWrites({failing});

        for (const QString &step : steps) {
            act(step);
            if (QTest::currentTestFailed())
                return;
        }
        QCOMPARE(card->journal(), journal);
        if (value) {
            QCOMPARE(value->currentValue().toDouble(), controllerValue());
            QVERIFY2(accessible->text(QAccessible::Name).contains(QString::number(controllerValue())),
                     qPrintable(accessible->text(QAccessible::Name)));
        }
        for (const QString &check : after)
            QCOMPARE(read(check.section(QLatin1Char('='), 0, 0)), check.mid(check.indexOf(QLatin1Char('=')) + 1));
    }
};

QTEST_MAIN(TestScene)
#include "tst_scene.moc"

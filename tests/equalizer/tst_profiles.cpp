// Profiles as the scene applies and saves them, against the real amixer on the virtual card and the
// tuning scripts found on PATH.

#include "support/controllerfixture.h"
#include "support/virtualcard.h"

#include <QtTest>

using namespace ControllerFixture;
using L = QStringList;

namespace {

const QString chan1 = QStringLiteral("amixer sset \"Music Chan1 Delay\" 100");
const QString chan3 = QStringLiteral("amixer sset \"Music Chan3 Delay\" 400");
const QString twoMicOn = QStringLiteral("amixer sset \"Voicecall CVC 2Mic\" on");

} // namespace

class TstProfiles : public QObject
{
    Q_OBJECT

    VirtualCard card;
    // Serves every row of setToProfiles.
    Controller controller{{{"ProfileId", 1},
                           {"User Profile", recording({chan1, twoMicOn})},
                           {"Velto Profile", recording({"amixer sset \"Music Chan2 Delay\" 300"})},
                           {"Default Profile", recording({chan3})}}};
    Equalizer *eq = controller.get();

private slots:
    void initTestCase() { QVERIFY2(card.isValid(), qPrintable(card.errorString())); }

    // The recording of this run replaces the stored entry whole; the chosen profile stays.
    void saveToProfiles()
    {
        Controller fresh({{"Default Profile", recording({chan3})}});
        QVERIFY(fresh->setVolume(40));
        QVERIFY(fresh->changeTwoMicMode(true));
        QVERIFY(fresh->changeTwoMicMode(false));
        fresh->saveToProfiles(2);
        QCOMPARE(fresh.stored("Default Profile").toHash(),
                 recording({"amixer sset \"Main Vol Master Gain\" 40", "amixer sset \"Voicecall CVC 2Mic\" off"}));
        QCOMPARE(fresh.stored("ProfileId").toInt(), 2);
    }

    void setToProfiles_data()
    {
        QTest::addColumn<int>("id");
        QTest::addColumn<QByteArray>("standIn"); // body of a SetAlsaVelto.sh put first on PATH
        QTest::addColumn<L>("refused");
        QTest::addColumn<QString>("script");
        QTest::addColumn<L>("replayed");
        QTest::addColumn<int>("result");
        QTest::addColumn<int>("volume"); // what the script leaves on the card, 10 before

        QTest::newRow("0, User Profile: default script, then the stored user commands")
                << 0 << QByteArray() << L() << "SetAlsaDefault.sh" << L{chan1, twoMicOn} << 1 << 80;
        QTest::newRow("1, Velto Profile: its own script, its stored commands not replayed")
                << 1 << QByteArray() << L() << "SetAlsaVelto.sh" << L() << 1 << 96;
        QTest::newRow("2, Default Profile: default script, its stored commands not replayed")
                << 2 << QByteArray() << L() << "SetAlsaDefault.sh" << L() << 1 << 80;
        QTest::newRow("0, one stored command refused: the other still replayed, result 0")
                << 0 << QByteArray() << L{"Music Chan1 Delay"} << "SetAlsaDefault.sh" << L{chan1, twoMicOn} << 0 << 80;
        QTest::newRow("1, script fails: id kept, result 0, card still read back")
                << 1 << QByteArray("#!/bin/sh\nexit 3\n") << L() << "SetAlsaVelto.sh" << L() << 0 << 10;
        QTest::newRow("7, no such profile: empty script, nothing run, id still stored, result 0")
                << 7 << QByteArray() << L() << QString() << L() << 0 << 10;
    }

    void setToProfiles()
    {
        QFETCH(int, id);
        QFETCH(QByteArray, standIn);
        QFETCH(L, refused);
        QFETCH(QString, script);
        QFETCH(L, replayed);
        QFETCH(int, result);
        QFETCH(int, volume);

        QTemporaryDir scripts;
        const QByteArray path = qgetenv("PATH");
        if (!standIn.isEmpty()) {
            QFile stand(scripts.filePath("SetAlsaVelto.sh"));
            QVERIFY(stand.open(QIODevice::WriteOnly) && stand.write(standIn) == standIn.size());
            stand.setPermissions(stand.permissions() | QFile::ExeOwner);
            qputenv("PATH", QFile::encodeName(scripts.path()) + ':' + path);
        }
        // Values the replay and the script change, so that the card can refuse them.
        card.setValue("Music Chan1 Delay", 0);
        card.setValue("Voicecall CVC 2Mic", 0);
        card.setValue("Main Vol Master Gain", 10);
        card.failWrites(refused);
        card.clearLogs();

        // The id is stored and announced before the script runs.
        L announced;
        QObject row;
        connect(eq, &Equalizer::activatedProfileIdChanged, &row, [&] {
            announced << QStringLiteral("%1 stored, %2 commands run")
                    .arg(controller.stored("ProfileId").toInt()).arg(card.commands().size());
        });
        SignalLog log(eq);
        const L lines = traces([&] { eq->setToProfiles(id); });
        qputenv("PATH", path);
        card.failWrites({});

        QCOMPARE(announced, L{QStringLiteral("%1 stored, 0 commands run").arg(id)});
        QCOMPARE(eq->property("activatedProfileId").toInt(), id);
        QCOMPARE(lines.filter(QRegularExpression("^setToProfiles")),
                 L({QStringLiteral("setToProfiles(id=%1)").arg(id), "setToProfiles, cmd : " + script,
                    QStringLiteral("setToProfiles, result=%1").arg(result)}));

        // The script's own amixer runs come first, then the replay (in the stored hash's order),
        // then the read-back.
        L cmds = card.commands();
        QCOMPARE(cmds.mid(cmds.size() - 29), profileReadBack());
        cmds = cmds.mid(0, cmds.size() - 29);
        L replay = cmds.mid(cmds.size() - replayed.size());
        replay.sort();
        replayed.sort();
        QCOMPARE(replay, replayed);
        for (const QString &cmd : cmds.mid(0, cmds.size() - replayed.size()))
            QVERIFY2(cmd.startsWith("amixer -q sset "), qPrintable(cmd));
        QCOMPARE(card.value("Music Chan2 Delay"), 0);
        QCOMPARE(card.value("Music Chan3 Delay"), 0);
        QCOMPARE(eq->property("Volume").toInt(), volume);
        QCOMPARE(log.take().last(), "volumeChanged()");
    }
};

QTEST_GUILESS_MAIN(TstProfiles)
#include "tst_profiles.moc"

// Profiles as the scene applies and saves them, against the real amixer on the virtual card and the
// tuning scripts found on PATH.

#include "equalizer/equalizer.h"
#include "mixer/controls.h"
#include "support/stdoutcapture.h"
#include "support/virtualcard.h"

#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

namespace {

QVariantHash recording(const QStringList &cmds)
{
    QVariantHash hash;
    for (const QString &cmd : cmds)
        hash.insert(cmd.left(cmd.lastIndexOf(' ')), cmd);
    return hash;
}

// The 29 reads that end every profile, in their order.
QStringList readBack()
{
    const QString peq = QStringLiteral("User");
    QStringList reads{MixerControls::readPeqSwitchMode(peq)};
    for (const char *word : {"Switch Mode", "Xover FC", "Mix Balance", "Effect Strength", "Amp Limit", "LP FC", "HP FC", "Harm Content"})
        reads << MixerControls::readDbe(word);
    reads << MixerControls::readPeqCoreType(peq) << MixerControls::readPeqMasterGain(peq);
    for (int band = 1; band <= 10; ++band)
        reads << MixerControls::readPeqBandGain(peq, band);
    for (int chan = 1; chan <= 4; ++chan)
        reads << MixerControls::readChanDelay(chan);
    return reads << MixerControls::readCvcSendMode() << MixerControls::readCvcRecvMode()
                 << MixerControls::readCvcTwoMic() << MixerControls::readMainVolume();
}

EqualizerPaths pathsIn(const QTemporaryDir &dir)
{
    EqualizerPaths paths;
    paths.settingsFile = dir.filePath("Equalizer.conf");
    paths.settingsLock = dir.filePath("Equalizer.conf.lock");
    paths.keyDevice = dir.filePath("no-keys");
    return paths;
}

} // namespace

class TstProfiles : public QObject
{
    Q_OBJECT

    std::unique_ptr<VirtualCard> card;
    QTemporaryDir dir;
    std::unique_ptr<Equalizer> eq;
    const QString chan1 = MixerControls::writeChanDelay(1, 100);
    const QString twoMicOn = MixerControls::writeCvcTwoMic("on");

private slots:
    // The recording of this run replaces the stored entry whole; the chosen profile stays.
    void saveToProfiles()
    {
        VirtualCard card;
        QVERIFY2(card.isValid(), qPrintable(card.errorString()));
        QTemporaryDir dir;
        const QString file = dir.filePath("Equalizer.conf");
        QSettings(file, QSettings::NativeFormat).setValue("Default Profile", recording({MixerControls::writeChanDelay(3, 400)}));
        {
            Equalizer eq(nullptr, pathsIn(dir));
            QVERIFY(eq.setVolume(40));
            QVERIFY(eq.changeTwoMicMode(true));
            QVERIFY(eq.changeTwoMicMode(false));
            eq.saveToProfiles(2);
        }
        const QSettings stored(file, QSettings::NativeFormat);
        QCOMPARE(stored.value("Default Profile").toHash(),
                 recording({MixerControls::writeMainVolume(40), MixerControls::writeCvcTwoMic("off")}));
        QCOMPARE(stored.value("ProfileId").toInt(), 2);
    }

    void setToProfiles_data()
    {
        QTest::addColumn<int>("id");
        QTest::addColumn<QByteArray>("standIn"); // body of a SetAlsaVelto.sh put first on PATH
        QTest::addColumn<QStringList>("refused");
        QTest::addColumn<QString>("script");
        QTest::addColumn<QStringList>("replayed");
        QTest::addColumn<int>("result");
        QTest::addColumn<int>("volume"); // what the script leaves on the card, 10 before

        QTest::newRow("0, User Profile: default script, then the stored user commands")
                << 0 << QByteArray() << QStringList() << "SetAlsaDefault.sh" << QStringList{chan1, twoMicOn} << 1 << 80;
        QTest::newRow("1, Velto Profile: its own script, its stored commands not replayed")
                << 1 << QByteArray() << QStringList() << "SetAlsaVelto.sh" << QStringList() << 1 << 96;
        QTest::newRow("2, Default Profile: default script, its stored commands not replayed")
                << 2 << QByteArray() << QStringList() << "SetAlsaDefault.sh" << QStringList() << 1 << 80;
        QTest::newRow("0, one stored command refused: the other still replayed, result 0")
                << 0 << QByteArray() << QStringList{"Music Chan1 Delay"} << "SetAlsaDefault.sh"
                << QStringList{chan1, twoMicOn} << 0 << 80;
        QTest::newRow("1, script fails: id kept, result 0, card still read back")
                << 1 << QByteArray("#!/bin/sh\nexit 3\n") << QStringList() << "SetAlsaVelto.sh" << QStringList() << 0 << 10;
        QTest::newRow("7, no such profile: empty script, nothing run, id still stored, result 0")
                << 7 << QByteArray() << QStringList() << QString() << QStringList() << 0 << 10;
    }

    void setToProfiles()
    {
        QFETCH(int, id);
        QFETCH(QByteArray, standIn);
        QFETCH(QStringList, refused);
        QFETCH(QString, script);
        QFETCH(QStringList, replayed);
        QFETCH(int, result);
        QFETCH(int, volume);

        // One controller serves every row, started on the first.
        const QString file = dir.filePath("Equalizer.conf");
        if (!eq) {
            card = std::make_unique<VirtualCard>();
            QVERIFY2(card->isValid(), qPrintable(card->errorString()));
            {
                QSettings stored(file, QSettings::NativeFormat);
                stored.setValue("ProfileId", 1);
                stored.setValue("User Profile", recording({chan1, twoMicOn}));
                stored.setValue("Velto Profile", recording({MixerControls::writeChanDelay(2, 300)}));
                stored.setValue("Default Profile", recording({MixerControls::writeChanDelay(3, 400)}));
            }
            eq = std::make_unique<Equalizer>(nullptr, pathsIn(dir));
        }
        QTemporaryDir scripts;
        const QByteArray path = qgetenv("PATH");
        if (!standIn.isEmpty()) {
            QFile stand(scripts.filePath("SetAlsaVelto.sh"));
            QVERIFY(stand.open(QIODevice::WriteOnly) && stand.write(standIn) == standIn.size());
            stand.setPermissions(stand.permissions() | QFile::ExeOwner);
            qputenv("PATH", QFile::encodeName(scripts.path()) + ':' + path);
        }
        // Values the replay and the script change, so that the card can refuse them.
        card->setValue("Music Chan1 Delay", 0);
        card->setValue("Voicecall CVC 2Mic", 0);
        card->setValue("Main Vol Master Gain", 10);
        card->failWrites(refused);
        card->clearLogs();

        // The id is stored and announced before the script runs.
        QStringList announced;
        QObject row;
        connect(eq.get(), &Equalizer::activatedProfileIdChanged, &row, [&] {
            announced << QStringLiteral("%1 stored, %2 commands run")
                    .arg(QSettings(file, QSettings::NativeFormat).value("ProfileId").toInt())
                    .arg(card->commands().size());
        });
        QSignalSpy volumeSpy(eq.get(), &Equalizer::volumeChanged);
        QByteArray out;
        {
            StdoutCapture capture;
            eq->setToProfiles(id);
            out = capture.text();
        }
        qputenv("PATH", path);
        card->failWrites({});

        QCOMPARE(announced, QStringList{QStringLiteral("%1 stored, 0 commands run").arg(id)});
        QCOMPARE(eq->property("activatedProfileId").toInt(), id);
        QStringList profileTraces;
        for (const QByteArray &line : out.split('\n'))
            if (line.startsWith("<Equalizer>setToProfiles"))
                profileTraces << QString::fromUtf8(line);
        QCOMPARE(profileTraces, QStringList({QStringLiteral("<Equalizer>setToProfiles(id=%1)").arg(id),
                                             "<Equalizer>setToProfiles, cmd : " + script,
                                             QStringLiteral("<Equalizer>setToProfiles, result=%1").arg(result)}));

        // The script's own amixer runs come first, then the replay (in the stored hash's order),
        // then the read-back.
        QStringList cmds = card->commands();
        QCOMPARE(cmds.mid(cmds.size() - 29), readBack());
        cmds = cmds.mid(0, cmds.size() - 29);
        QStringList replay = cmds.mid(cmds.size() - replayed.size());
        replay.sort();
        replayed.sort();
        QCOMPARE(replay, replayed);
        for (const QString &cmd : cmds.mid(0, cmds.size() - replayed.size()))
            QVERIFY2(cmd.startsWith("amixer -q sset "), qPrintable(cmd));
        QCOMPARE(card->value("Music Chan2 Delay"), 0);
        QCOMPARE(card->value("Music Chan3 Delay"), 0);
        QCOMPARE(eq->property("Volume").toInt(), volume);
        QCOMPARE(volumeSpy.count(), 1);
    }

    void cleanupTestCase()
    {
        eq.reset();
        card.reset();
    }
};

QTEST_GUILESS_MAIN(TstProfiles)
#include "tst_profiles.moc"

#include "viewer/qtquick2applicationviewer.h"
#include "app/startup.h"
#include "equalizer/equalizer.h"
#include "support/controllerfixture.h"
#include "support/stdoutcapture.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <getopt.h>

// The application shell: the option loop and the window slots. What start-up publishes to the scene
// is seen by the scene tests, where a list missing while the scene loads is a warning that fails them.
// The controller runs against an ALSA configuration without any card, so every mixer run fails fast
// and nothing on the machine is touched.
class TestShell : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QFile noCards(dir.filePath(QStringLiteral("no-cards.conf")));
        QVERIFY(noCards.open(QIODevice::WriteOnly));
        noCards.close();
        qputenv("ALSA_CONFIG_PATH", noCards.fileName().toLocal8Bit());
    }

    void optionLoop_data()
    {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<QString>("complaint");

        QTest::newRow("every accepted form; short -P takes no value")
            << QStringList{"-platform", "offscreen", "--platform=offscreen", "-p", "offscreen", "-plugin", "evdevkeyboard", "-P"}
            << "";
        QTest::newRow("unknown option: the usual complaint") << QStringList{"--frobnicate"} << "unrecognized option";
        QTest::newRow("platform without its value") << QStringList{"--platform"} << "requires an argument";
    }

    void optionLoop()
    {
        QFETCH(QStringList, args);
        QFETCH(QString, complaint);

        QList<QByteArray> storage{QByteArrayLiteral("equalizer")};
        for (const QString &arg : args)
            storage << arg.toLocal8Bit();
        QVector<char *> argv;
        for (QByteArray &arg : storage)
            argv << arg.data();
        argv << nullptr;

        optind = 0; // the C library's own way to start over with a new vector
        QString text;
        {
            StdoutCapture err(2);
            Startup::runOptionLoop(argv.size() - 1, argv.data());
            text = QString::fromLocal8Bit(err.text());
        }
        if (complaint.isEmpty())
            QCOMPARE(text, QString());
        else
            QVERIFY2(text.contains(complaint), qPrintable(text));
    }

    void windowSlots_data()
    {
        QTest::addColumn<bool>("withViewer");
        QTest::addColumn<QStringList>("calls");
        QTest::addColumn<int>("paused");
        QTest::addColumn<Qt::WindowState>("state");
        QTest::addColumn<QByteArray>("trace");

        QTest::newRow("without a viewer: traced, nothing else")
            << false << QStringList{"minimize", "show"} << 0 << Qt::WindowFullScreen
            << QByteArray("<Equalizer>minimize\n<Equalizer>show\n");
        QTest::newRow("minimize twice: maximised, paused once")
            << true << QStringList{"minimize", "minimize"} << 1 << Qt::WindowMaximized
            << QByteArray("<Equalizer>minimize\n<Equalizer>minimize\n");
        QTest::newRow("minimize, show: full screen again")
            << true << QStringList{"minimize", "show"} << 1 << Qt::WindowFullScreen
            << QByteArray("<Equalizer>minimize\n<Equalizer>show\n");
        QTest::newRow("minimize, show, minimize: paused twice")
            << true << QStringList{"minimize", "show", "minimize"} << 2 << Qt::WindowMaximized
            << QByteArray("<Equalizer>minimize\n<Equalizer>show\n<Equalizer>minimize\n");
    }

    void windowSlots()
    {
        QFETCH(bool, withViewer);
        QFETCH(QStringList, calls);
        QFETCH(int, paused);
        QFETCH(Qt::WindowState, state);
        QFETCH(QByteArray, trace);

        Equalizer equalizer(nullptr, ControllerFixture::paths(dir));
        QtQuick2ApplicationViewer viewer;
        viewer.showFullScreen();
        if (withViewer)
            equalizer.setViewer(&viewer);
        QSignalSpy pausedSpy(&equalizer, &Equalizer::appPaused);
        ControllerFixture::waitForWorkers(equalizer);

        QByteArray printed;
        {
            StdoutCapture out;
            for (const QString &call : calls)
                QMetaObject::invokeMethod(&equalizer, call.toLatin1().constData());
            // Only the controller's own trace lines: pausing also makes the bus thread log, and the
            // test framework prints that debug message on the same stream.
            for (const QByteArray &line : out.text().split('\n'))
                if (line.startsWith("<Equalizer>"))
                    printed += line + '\n';
        }
        QCOMPARE(printed, trace);
        QCOMPARE(pausedSpy.count(), paused);
        QCOMPARE(viewer.windowState(), state);
    }

private:
    QTemporaryDir dir;
};

QTEST_MAIN(TestShell)
#include "tst_shell.moc"

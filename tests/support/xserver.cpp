#include "support/xserver.h"

#include <QtTest>

XServer::~XServer()
{
    for (QProcess *process : {&windowManager, &xvfb}) {
        if (process->state() != QProcess::NotRunning) {
            process->terminate();
            if (!process->waitForFinished(5000))
                process->kill();
            process->waitForFinished(5000);
        }
    }
}

bool XServer::start()
{
    xvfb.start(QStringLiteral("Xvfb"), {"-displayfd", "1", "-screen", "0", "1280x720x24", "-nolisten", "tcp"});
    // The number is written once the server accepts clients.
    QElapsedTimer waited;
    waited.start();
    while (!xvfb.canReadLine() && xvfb.state() != QProcess::NotRunning && waited.elapsed() < 30000)
        xvfb.waitForReadyRead(100);
    if (!xvfb.canReadLine()) {
        error = QStringLiteral("Xvfb did not start (%1): %2").arg(xvfb.errorString(),
                                                                  QString::fromLocal8Bit(xvfb.readAllStandardError()));
        return false;
    }
    name = QLatin1Char(':') + QString::fromLatin1(xvfb.readLine().trimmed());
    qputenv("DISPLAY", name.toLatin1());

    windowManager.start(QStringLiteral("matchbox-window-manager"), {"-use_titlebar", "no"});
    // A window mapped before the manager runs would never be made full screen: wait for the
    // manager's mark on the root window.
    const auto managed = [] {
        QProcess xprop;
        xprop.start(QStringLiteral("xprop"), {"-root", "_NET_SUPPORTING_WM_CHECK"});
        return xprop.waitForFinished(5000) && xprop.readAll().contains("window id");
    };
    waited.restart();
    while (!managed()) {
        if (windowManager.state() == QProcess::NotRunning || waited.elapsed() > 30000) {
            error = QStringLiteral("matchbox-window-manager did not start: ")
                    + QString::fromLocal8Bit(windowManager.readAllStandardError());
            return false;
        }
        QTest::qWait(50);
    }
    return true;
}

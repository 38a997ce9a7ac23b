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
    QElapsedTimer started;
    started.start();
    while (!xvfb.canReadLine() && xvfb.state() != QProcess::NotRunning && started.elapsed() < 30000)
        xvfb.waitForReadyRead(100);
    if (!xvfb.canReadLine()) {
        error = QStringLiteral("Xvfb did not start (%1): %2").arg(xvfb.errorString(),
                                                                  QString::fromLocal8Bit(xvfb.readAllStandardError()));
        return false;
    }
    qputenv("DISPLAY", ':' + xvfb.readLine().trimmed());

    // A window mapped before the manager runs would never be made full screen: wait for the
    // manager's mark on the root window. A manager that could not reach the server yet is started
    // again.
    const auto answers = [](const char *property) {
        QProcess xprop;
        xprop.start(QStringLiteral("xprop"), {"-root", property});
        return xprop.waitForFinished(5000) && xprop.exitCode() == 0 ? xprop.readAll() : QByteArray();
    };
    QElapsedTimer waited;
    waited.start();
    while (!answers("_NET_SUPPORTING_WM_CHECK").contains("window id")) {
        if (waited.elapsed() > 60000) {
            error = QStringLiteral("matchbox-window-manager did not start: ")
                    + QString::fromLocal8Bit(windowManager.readAllStandardError());
            return false;
        }
        if (windowManager.state() == QProcess::NotRunning && !answers("RESOURCE_MANAGER").isNull())
            windowManager.start(QStringLiteral("matchbox-window-manager"), {"-use_titlebar", "no"});
        QTest::qWait(50);
    }
    return true;
}

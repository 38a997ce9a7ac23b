#pragma once

// XServer: a private Xvfb display on a number Xvfb picks itself (-displayfd), so that parallel tests
// never collide, with a kiosk window manager so that full screen and maximised are real window
// states. DISPLAY is set for the children this process starts.

#include <QProcess>
#include <QString>

class XServer
{
public:
    ~XServer();
    // Returns once the server accepts clients and the window manager manages the screen.
    bool start();
    QString errorString() const { return error; }

private:
    QProcess xvfb;
    QProcess windowManager;
    QString error;
};

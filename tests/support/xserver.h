#pragma once

// XServer: a private Xvfb display for the life of the object, on a display number Xvfb picks
// itself (-displayfd), so that parallel tests never collide; with a kiosk window manager, as on the
// unit, so that full screen and maximised are real window states. DISPLAY is set for the children
// this process starts; the process itself stays on its own platform.
//
//     XServer x;
//     QVERIFY2(x.start(), qPrintable(x.errorString()));

#include <QProcess>
#include <QString>

class XServer
{
public:
    ~XServer();
    // Returns once the server accepts clients and the window manager manages the screen.
    bool start();
    QString errorString() const { return error; }
    QString display() const { return name; }

private:
    QProcess xvfb;
    QProcess windowManager;
    QString name;
    QString error;
};

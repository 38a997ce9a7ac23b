#include "viewer/qtquick2applicationviewer.h"
#include "app/startup.h"
#include "app/termination.h"
#include "control/controlservice.h"
#include "equalizer/equalizer.h"

#include <QGuiApplication>

#include <cstdio>

int main(int argc, char *argv[])
{
    // Line-buffered even into a pipe, so that whoever reads the trace sees each line as it happens.
    setvbuf(stdout, nullptr, _IOLBF, 0);

    Startup::runOptionLoop(argc, argv);
    QGuiApplication app(argc, argv);
    Termination::quitOnSignals(app);
    Startup::registerTypes();

    int result;
    {
        Equalizer equalizer;
        // Other programs' way in: on the bus once the sound state is restored; without it if refused.
        ControlService control(equalizer);
        control.start();
        {
            QtQuick2ApplicationViewer viewer;
            equalizer.setViewer(&viewer);
            Startup::publish(viewer, equalizer);
            Startup::loadScene(viewer);
            viewer.showFullScreen();
            result = app.exec();
            equalizer.setViewer(nullptr);
        }
    }
    return result;
}

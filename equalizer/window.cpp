#include "equalizer/equalizer.h"

#include "viewer/qtquick2applicationviewer.h"
#include "log/trace.h"

QString Equalizer::currentPeqName() const
{
    return m_peqList.at(currentPeqIdx).name;
}

void Equalizer::setViewer(QtQuick2ApplicationViewer *viewer)
{
    this->viewer = viewer;
}

void Equalizer::minimize()
{
    if (logF)
        Trace::line("minimize");
    if (minimized || !viewer)
        return;
    // Leaving full screen is what hands the screen back; the activity manager brings another
    // application to the front once it hears "minimize".
    viewer->showMaximized();
    emit appPaused();
    minimized = true;
}

void Equalizer::show()
{
    if (logF)
        Trace::line("show");
    if (!viewer)
        return;
    viewer->showFullScreen();
    minimized = false;
}

#include "viewer/qtquick2applicationviewer.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QQmlEngine>

class QtQuick2ApplicationViewerPrivate
{
public:
    QString mainQmlFile;
};

QtQuick2ApplicationViewer::QtQuick2ApplicationViewer(QWindow *parent)
    : QQuickView(parent), d(new QtQuick2ApplicationViewerPrivate)
{
    connect(engine(), SIGNAL(quit()), this, SLOT(close()));
    setResizeMode(QQuickView::SizeRootObjectToView);
    // The window's name for window managers and screen readers.
    setTitle(QStringLiteral("Equalizer"));
}

QtQuick2ApplicationViewer::~QtQuick2ApplicationViewer()
{
    delete d;
}

void QtQuick2ApplicationViewer::setMainQmlFile(const QString &file)
{
    d->mainQmlFile = adjustPath(file);
    setSource(QUrl::fromLocalFile(d->mainQmlFile));
}

void QtQuick2ApplicationViewer::addImportPath(const QString &path)
{
    engine()->addImportPath(adjustPath(path));
}

QString QtQuick2ApplicationViewer::adjustPath(const QString &path)
{
    const QString candidate =
        QStringLiteral("%1/../%2").arg(QCoreApplication::applicationDirPath(), path);
    if (QFileInfo::exists(candidate))
        return candidate;
    return path;
}

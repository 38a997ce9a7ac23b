#pragma once

#include <QQuickView>

class QtQuick2ApplicationViewerPrivate;

// The application's one window: loads the scene from a file, sizes the scene's root item to the
// window, and closes when the scene asks its engine to quit.
class QtQuick2ApplicationViewer : public QQuickView
{
    Q_OBJECT

public:
    explicit QtQuick2ApplicationViewer(QWindow *parent = nullptr);
    ~QtQuick2ApplicationViewer() override;

    void setMainQmlFile(const QString &file);
    void addImportPath(const QString &path);

private:
    // A path below the executable's parent folder wins over the path as given; this lets an
    // uninstalled build find the scene in its mirror of the installed tree.
    static QString adjustPath(const QString &path);

    QtQuick2ApplicationViewerPrivate *d;
};

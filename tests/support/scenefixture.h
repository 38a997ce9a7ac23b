#pragma once

// SceneFixture: the installed scene (the build tree's mirror of it) loaded by the real viewer
// against a real controller whose settings and key device live in a temporary folder; the
// controller runs on whatever card the test set up. Items are found by objectName through the
// visual tree (Repeater and Loader items have no QObject parent).
//
//     VirtualCard card;
//     SceneFixture scene;
//     QVERIFY(scene.load(QSize(800, 480), {{"DemoMode", true}}));
//     QTest::mouseClick(scene.viewer(), Qt::LeftButton, {}, scene.centre("preset:Rock"));

#include "equalizer/equalizer.h"
#include "viewer/qtquick2applicationviewer.h"

#include <QPoint>
#include <QQuickItem>
#include <QTemporaryDir>
#include <QVariantMap>

#include <memory>

class SceneFixture
{
public:
    SceneFixture();
    ~SceneFixture();

    // Starts the controller on these settings ("DebugLevel" 0 unless given), then loads and shows
    // the scene at size; false, with the errors in errorString(), when it does not come up.
    bool load(QSize size, const QVariantMap &settings = QVariantMap());
    QString errorString() const { return error; }

    Equalizer *controller() const { return eq.get(); }
    QtQuick2ApplicationViewer *viewer() const { return view.get(); }
    QString settingsFile() const { return paths.settingsFile; }

    QQuickItem *item(const QString &objectName) const;
    QRectF rect(const QQuickItem *item) const;
    // The centre of the named item in the window; (-1, -1) when there is none.
    QPoint centre(const QString &objectName) const;
    // Where a band column puts its handle's centre for a gain, in the window.
    QPointF bandHandleAt(int band, int db) const;

private:
    QTemporaryDir dir;
    EqualizerPaths paths;
    std::unique_ptr<Equalizer> eq;
    std::unique_ptr<QtQuick2ApplicationViewer> view;
    QString error;
};

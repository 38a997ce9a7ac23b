#include "support/scenefixture.h"

#include "app/startup.h"
#include "support/controllerfixture.h"

#include <QSettings>
#include <QtTest>

SceneFixture::SceneFixture()
    : paths(ControllerFixture::paths(dir))
{
}

SceneFixture::~SceneFixture()
{
    if (eq)
        eq->setViewer(nullptr);
    view.reset();
    eq.reset();
}

bool SceneFixture::load(QSize size, const QVariantMap &settings)
{
    {
        QSettings seed(paths.settingsFile, QSettings::NativeFormat);
        seed.setValue(QStringLiteral("DebugLevel"), 0);
        for (auto it = settings.cbegin(); it != settings.cend(); ++it)
            seed.setValue(it.key(), it.value());
    }
    eq = std::make_unique<Equalizer>(nullptr, paths);
    view = std::make_unique<QtQuick2ApplicationViewer>();
    eq->setViewer(view.get());
    Startup::publish(*view, *eq);
    view->resize(size);
    const QByteArray scene = qgetenv("EQ_BUILD_DIR") + "/usr/share/qml/equalizer/Equalizer_New.qml";
    Startup::loadScene(*view, scene.constData());
    view->show();
    QStringList errors;
    for (const QQmlError &e : view->errors())
        errors << e.toString();
    error = errors.join(QLatin1Char('\n'));
    return view->status() == QQuickView::Ready && view->rootObject() && QTest::qWaitForWindowExposed(view.get());
}

QQuickItem *SceneFixture::item(const QString &objectName) const
{
    QList<QQuickItem *> pending{view->contentItem()};
    while (!pending.isEmpty()) {
        QQuickItem *candidate = pending.takeFirst();
        if (candidate->objectName() == objectName)
            return candidate;
        pending << candidate->childItems();
    }
    return nullptr;
}

QRectF SceneFixture::rect(const QQuickItem *item) const
{
    return item->mapRectToScene(QRectF(0, 0, item->width(), item->height()));
}

QPoint SceneFixture::centre(const QString &objectName) const
{
    const QQuickItem *target = item(objectName);
    return target ? rect(target).center().toPoint() : QPoint(-1, -1);
}

QPointF SceneFixture::bandHandleAt(int band, int db) const
{
    QQuickItem *column = item(QStringLiteral("band%1").arg(band));
    QVariant y;
    if (!column || !QMetaObject::invokeMethod(column, "yAt", Q_RETURN_ARG(QVariant, y), Q_ARG(QVariant, db)))
        return QPointF(-1, -1);
    return column->mapToScene(QPointF(column->width() / 2, y.toReal()));
}

// bench_bare_window [QML FILE]: a Qt Quick window and nothing else, shown full screen the way the
// application shows its own, with an empty scene. It is the toolkit's share of a start: the
// application's start-up is compared against it plus the mixer tool's own runs.

#include <QGuiApplication>
#include <QQuickView>
#include <QScreen>
#include <QUrl>

int main(int argc, char *argv[])
{
    QGuiApplication app(argc, argv);
    const QStringList args = app.arguments();
    const QString file = args.size() > 1 ? args.at(1) : QStringLiteral(EQ_BENCH_EMPTY_QML);
    QQuickView view;
    view.setResizeMode(QQuickView::SizeRootObjectToView);
    view.setSource(QUrl::fromLocalFile(file));
    // Without a window manager (Xvfb) full screen keeps the window's own size, and an empty scene
    // has none; the application's scene is the screen's size, so the yardstick's window is too.
    view.resize(view.screen()->size());
    view.showFullScreen();
    return app.exec();
}

// Pictures of the scene for the documentation and for review: the real controller on a virtual
// card, a few gains set so that the curve has something to show, and one PNG per page.
//
//     eq_screenshots OUTDIR WIDTHxHEIGHT [PAGE...]
//
// Writes OUTDIR/<page>-<width>x<height>.png for each page (all five when none is named). Run it
// under Xvfb (scripts/screenshots does), with EQ_BUILD_DIR set to the build tree.

#include "viewer/qtquick2applicationviewer.h"
#include "app/startup.h"
#include "equalizer/equalizer.h"
#include "support/virtualcard.h"

#include <QDir>
#include <QGuiApplication>
#include <QImage>
#include <QQuickItem>
#include <QSettings>
#include <QTemporaryDir>
#include <QTimer>

#include <cstdio>

namespace {

void settle(int ms)
{
    QEventLoop loop;
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
}

} // namespace

int main(int argc, char *argv[])
{
    QGuiApplication app(argc, argv);
    Startup::registerTypes();
    const QStringList args = app.arguments();
    const QStringList size = args.value(2).split(QLatin1Char('x'));
    if (args.size() < 3 || size.size() != 2) {
        fprintf(stderr, "usage: %s OUTDIR WIDTHxHEIGHT [PAGE...]\n", argv[0]);
        return 2;
    }
    const QString outDir = args[1];
    const QSize windowSize(size[0].toInt(), size[1].toInt());
    QStringList pages = args.mid(3);
    if (pages.isEmpty())
        pages = QStringList{"equalizer", "soundField", "bass", "voice", "profiles"};
    const QStringList order{"equalizer", "soundField", "bass", "voice", "profiles"};

    VirtualCard card;
    if (!card.isValid()) {
        fprintf(stderr, "virtual card: %s\n", qPrintable(card.errorString()));
        return 1;
    }
    QTemporaryDir settingsDir;
    EqualizerPaths paths;
    paths.settingsFile = settingsDir.filePath(QStringLiteral("Equalizer.conf"));
    paths.settingsLock = settingsDir.filePath(QStringLiteral("Equalizer.conf.lock"));
    paths.keyDevice = settingsDir.filePath(QStringLiteral("no-key-device"));
    QSettings(paths.settingsFile, QSettings::NativeFormat).setValue(QStringLiteral("DebugLevel"), 0);

    Equalizer equalizer(nullptr, paths);
    // A tuning with some shape to it: a little bass, a dip in the low mids, an airy top.
    const int gains[10] = {6, 5, 2, -2, -3, 0, 2, 4, 5, 4};
    for (int band = 1; band <= 10; ++band)
        equalizer.changeGain(band, gains[band - 1]);
    equalizer.changeGain(0, -4);
    equalizer.setSweetspot(1);

    QtQuick2ApplicationViewer viewer;
    equalizer.setViewer(&viewer);
    Startup::publish(viewer, equalizer);
    viewer.resize(windowSize);
    const QByteArray scene = qgetenv("EQ_BUILD_DIR") + "/usr/share/qml/equalizer/Equalizer_New.qml";
    Startup::loadScene(viewer, scene.constData());
    if (viewer.status() != QQuickView::Ready)
        return 1;
    viewer.show();
    settle(500);

    QDir().mkpath(outDir);
    for (const QString &page : pages) {
        const int index = order.indexOf(page);
        if (index < 0) {
            fprintf(stderr, "no page \"%s\"\n", qPrintable(page));
            return 2;
        }
        viewer.rootObject()->setProperty("currentPage", index);
        settle(300);
        const QString file = QStringLiteral("%1/%2-%3x%4.png").arg(outDir, page).arg(windowSize.width()).arg(windowSize.height());
        if (!viewer.grabWindow().save(file)) {
            fprintf(stderr, "cannot write %s\n", qPrintable(file));
            return 1;
        }
        printf("%s\n", qPrintable(file));
    }
    equalizer.setViewer(nullptr);
    return 0;
}

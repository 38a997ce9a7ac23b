// Pictures of the scene for the documentation and for review: the real controller on a virtual
// card, a few gains set so that the curve has something to show, and one PNG per page.
//
//     eq_screenshots OUTDIR WIDTHxHEIGHT [PAGE...]
//
// Writes OUTDIR/<page>-<width>x<height>.png for each page (all five when none is named). Run it
// under Xvfb (scripts/screenshots does), with EQ_BUILD_DIR set to the build tree.

#include "app/startup.h"
#include "support/scenefixture.h"
#include "support/virtualcard.h"

#include <QDir>
#include <QGuiApplication>
#include <QImage>
#include <QQuickItem>
#include <QTimer>

#include <cstdio>

namespace {

// Lets the scene draw, and its animations end, before a picture is taken.
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
    const QSize windowSize(size[0].toInt(), size[1].toInt());
    const QStringList order{"equalizer", "soundField", "bass", "voice", "profiles"};
    const QStringList pages = args.size() > 3 ? QStringList(args.mid(3)) : order;

    VirtualCard card;
    if (!card.isValid()) {
        fprintf(stderr, "virtual card: %s\n", qPrintable(card.errorString()));
        return 1;
    }
    SceneFixture scene;
    if (!scene.load(windowSize)) {
        fprintf(stderr, "scene: %s\n", qPrintable(scene.errorString()));
        return 1;
    }
    // A tuning with some shape to it: a little bass, a dip in the low mids, an airy top.
    const int gains[10] = {6, 5, 2, -2, -3, 0, 2, 4, 5, 4};
    for (int band = 1; band <= 10; ++band)
        scene.controller()->changeGain(band, gains[band - 1]);
    scene.controller()->changeGain(0, -4);
    scene.controller()->setSweetspot(1);
    settle(500);

    QDir().mkpath(args[1]);
    for (const QString &page : pages) {
        const int index = order.indexOf(page);
        if (index < 0) {
            fprintf(stderr, "no page \"%s\"\n", qPrintable(page));
            return 2;
        }
        scene.viewer()->rootObject()->setProperty("currentPage", index);
        settle(300);
        const QString file = QStringLiteral("%1/%2-%3x%4.png").arg(args[1], page).arg(windowSize.width()).arg(windowSize.height());
        if (!scene.viewer()->grabWindow().save(file)) {
            fprintf(stderr, "cannot write %s\n", qPrintable(file));
            return 1;
        }
        printf("%s\n", qPrintable(file));
    }
    return 0;
}

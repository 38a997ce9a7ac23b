// bench_startup: the application's start, step for step as app/main.cpp takes it, with a clock
// reading after each step. On the first frame it prints to standard error
//     EQBENCH phases main=<ms> app=<ms> equalizer=<ms> viewer=<ms> scene=<ms> show=<ms> frame=<ms>
// each the time since EQ_BENCH_T0_NS (set by bench_launch just before exec), or since main() when
// that is missing; then it keeps running like the application until it is stopped.
// The settings file is EQ_BENCH_SETTINGS (required, so that a stray run never touches the unit's
// own file); everything else is what the application uses.

#include "app/qtquick2applicationviewer.h"
#include "app/startup.h"
#include "bench/spawn.h"
#include "equalizer/equalizer.h"

#include <QGuiApplication>
#include <QQuickWindow>

#include <cstdio>
#include <cstdlib>

int main(int argc, char *argv[])
{
    const int64_t mainNs = Bench::nowNs();
    const char *t0Env = getenv("EQ_BENCH_T0_NS");
    const int64_t t0 = t0Env ? strtoll(t0Env, nullptr, 10) : mainNs;
    const auto since = [t0](int64_t ns) { return Bench::toMs(ns - t0); };

    const char *settingsEnv = getenv("EQ_BENCH_SETTINGS");
    if (!settingsEnv || !*settingsEnv) {
        fprintf(stderr, "bench_startup: set EQ_BENCH_SETTINGS to the settings file to use\n");
        return 2;
    }
    EqualizerPaths paths;
    paths.settingsFile = QString::fromLocal8Bit(settingsEnv);
    paths.settingsLock = paths.settingsFile + QStringLiteral(".lock");

    setvbuf(stdout, nullptr, _IOLBF, 0);
    Startup::runOptionLoop(argc, argv);
    QGuiApplication app(argc, argv);
    Startup::registerTypes();
    const int64_t appNs = Bench::nowNs();

    int result;
    {
        Equalizer equalizer(nullptr, paths);
        const int64_t equalizerNs = Bench::nowNs();
        {
            QtQuick2ApplicationViewer viewer;
            const int64_t viewerNs = Bench::nowNs();
            equalizer.setViewer(&viewer);
            Startup::publish(viewer, equalizer);
            Startup::loadScene(viewer);
            const int64_t sceneNs = Bench::nowNs();

            int64_t showNs = 0;
            bool reported = false;
            QObject::connect(&viewer, &QQuickWindow::frameSwapped, &viewer, [&]() {
                if (reported)
                    return;
                reported = true;
                fprintf(stderr,
                        "EQBENCH phases main=%.3f app=%.3f equalizer=%.3f viewer=%.3f scene=%.3f "
                        "show=%.3f frame=%.3f\n",
                        since(mainNs), since(appNs), since(equalizerNs), since(viewerNs),
                        since(sceneNs), since(showNs), since(Bench::nowNs()));
            });
            viewer.showFullScreen();
            showNs = Bench::nowNs();
            result = app.exec();
            equalizer.setViewer(nullptr);
        }
    }
    return result;
}

// bench_startup: the application's start, step for step as app/main.cpp takes it, with a clock
// reading after each step. On the first frame it prints to standard error
//     EQBENCH phases main=<ms> app=<ms> equalizer=<ms> viewer=<ms> scene=<ms> show=<ms> frame=<ms>
//                    kb_app=<KiB> kb_equalizer=<KiB> kb_scene=<KiB> kb_frame=<KiB>
// the times since EQ_BENCH_T0_NS (set by bench_launch just before exec), or since main() when that
// is missing, and the resident set after QGuiApplication, the controller, the scene and the first
// frame; then it keeps running like the application until it is stopped.
// The settings file is EQ_BENCH_SETTINGS (required, so that a stray run never touches the unit's
// own file); everything else is what the application uses.

#include "viewer/qtquick2applicationviewer.h"
#include "app/startup.h"
#include "bench/spawn.h"
#include "equalizer/equalizer.h"

#include <QGuiApplication>
#include <QQuickWindow>

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace {

// Resident set in KiB, the same figure as VmRSS.
long rssKb()
{
    long pages = 0, resident = 0;
    if (FILE *statm = fopen("/proc/self/statm", "r")) {
        if (fscanf(statm, "%ld %ld", &pages, &resident) != 2)
            resident = 0;
        fclose(statm);
    }
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

} // namespace

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
    const long appKb = rssKb();

    int result;
    {
        Equalizer equalizer(nullptr, paths);
        const int64_t equalizerNs = Bench::nowNs();
        const long equalizerKb = rssKb();
        {
            QtQuick2ApplicationViewer viewer;
            const int64_t viewerNs = Bench::nowNs();
            equalizer.setViewer(&viewer);
            Startup::publish(viewer, equalizer);
            Startup::loadScene(viewer);
            const int64_t sceneNs = Bench::nowNs();
            const long sceneKb = rssKb();

            int64_t showNs = 0;
            bool reported = false;
            QObject::connect(&viewer, &QQuickWindow::frameSwapped, &viewer, [&]() {
                if (reported)
                    return;
                reported = true;
                const double frameMs = since(Bench::nowNs());
                fprintf(stderr,
                        "EQBENCH phases main=%.3f app=%.3f equalizer=%.3f viewer=%.3f scene=%.3f "
                        "show=%.3f frame=%.3f kb_app=%ld kb_equalizer=%ld kb_scene=%ld kb_frame=%ld\n",
                        since(mainNs), since(appNs), since(equalizerNs), since(viewerNs),
                        since(sceneNs), since(showNs), frameMs, appKb, equalizerKb, sceneKb, rssKb());
            });
            viewer.showFullScreen();
            showNs = Bench::nowNs();
            result = app.exec();
            equalizer.setViewer(nullptr);
        }
    }
    return result;
}

// bench_ops: what the controller's operations cost on the GUI thread against the mixer tool's own
// runs, with the application's scene loaded and shown so that the scene's bindings follow every
// change as they do in the application.
//
//   bench_ops [--quick] [--scale N] [--output FILE]
//                                     a Markdown table of the operations (see bench/README.md) on
//                                     standard output, where the controller's trace also goes, or
//                                     in FILE; --scale multiplies the number of calls
//   bench_ops --make-warm FILE        turns FILE into the settings of a unit that has been used:
//                                     a saved preset, sweet spot 3, the user profile with recorded
//                                     commands, and "ProfileId" 0
//
// Needs the virtual card's environment (ALSA_CONFIG_PATH, EQ_CARD_DIR: its logging amixer in
// EQ_CARD_DIR/bin records which command lines each operation runs) and the tuning scripts on PATH.
// Each operation is first run once with the logging amixer first on PATH; its command lines are
// then replayed by a plain loop after every timed call, so call and floor alternate.

#include "viewer/qtquick2applicationviewer.h"
#include "app/startup.h"
#include "bench/spawn.h"
#include "equalizer/equalizer.h"
#include "mixer/runner.h"

#include <QEventLoop>
#include <QFile>
#include <QGuiApplication>
#include <QProcess>
#include <QQuickWindow>
#include <QSettings>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

namespace {

const char *const bandNames[] = {"60", "170", "310", "600", "1k", "3k", "6k", "12k", "14k", "16k"};
// Every band differs between the two presets, so that switching between them writes all ten.
const int bassGains[] = {6, 5, 4, 2, 1, 1, 2, 4, 5, 6};
const int rockGains[] = {-3, -2, -1, 0, -1, -2, -3, -1, 0, -2};

QVariantHash presetHash(const int *gains)
{
    QVariantHash hash;
    for (int i = 0; i < 10; ++i)
        hash.insert(QString::fromLatin1(bandNames[i]), gains[i]);
    return hash;
}

struct Stats {
    double median = 0, q1 = 0, q3 = 0;
};

double quantile(const std::vector<double> &sorted, double p)
{
    if (sorted.empty())
        return 0;
    const double pos = p * double(sorted.size() - 1);
    const size_t lo = size_t(pos);
    const size_t hi = std::min(lo + 1, sorted.size() - 1);
    return sorted[lo] + (sorted[hi] - sorted[lo]) * (pos - double(lo));
}

Stats stats(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return {quantile(values, 0.5), quantile(values, 0.25), quantile(values, 0.75)};
}

std::string cell(const Stats &s)
{
    char buf[96];
    snprintf(buf, sizeof buf, "%.2f (%.2f–%.2f)", s.median, s.q1, s.q3);
    return buf;
}

// One row of the table: an operation whose calls cycle through the variants, so that every call
// changes something and the cycle ends where it began.
struct Operation {
    std::string name;
    std::vector<std::function<void()>> variants;
    int reps;
};

class Recorder
{
public:
    Recorder()
    {
        const char *card = getenv("EQ_CARD_DIR");
        if (card) {
            wrapperDir = std::string(card) + "/bin";
            commandsFile = std::string(card) + "/commands";
        }
        const char *path = getenv("PATH");
        plainPath = path ? path : "/usr/bin:/bin";
    }

    bool usable() const { return !commandsFile.empty() && QFile::exists(QString::fromStdString(wrapperDir + "/amixer")); }

    // The command lines that reached the logging amixer during call(). The search path is read
    // again by every start, so putting the logger first for one call is enough.
    std::vector<std::string> record(const std::function<void()> &call)
    {
        QFile::resize(QString::fromStdString(commandsFile), 0);
        setenv("PATH", (wrapperDir + ":" + plainPath).c_str(), 1);
        call();
        setenv("PATH", plainPath.c_str(), 1);
        return Bench::readLines(commandsFile);
    }

private:
    std::string wrapperDir;
    std::string commandsFile;
    std::string plainPath;
};

double timeMs(const std::function<void()> &call)
{
    const int64_t start = Bench::nowNs();
    call();
    return Bench::toMs(Bench::nowNs() - start);
}

// Where the table goes: standard output carries the controller's trace lines.
FILE *table = stdout;

void measure(const Operation &op, Recorder &recorder)
{
    std::vector<std::vector<std::string>> lines;
    for (const auto &variant : op.variants)
        lines.push_back(recorder.record(variant));
    for (const auto &variant : lines) {
        if (variant.size() != lines.front().size())
            fprintf(stderr, "bench_ops: %s: the variants run %zu and %zu command lines\n",
                    op.name.c_str(), lines.front().size(), variant.size());
    }

    std::vector<double> callMs, eventsMs, floorMs;
    int failures = 0;
    for (int rep = 0; rep < op.reps; ++rep) {
        const size_t v = size_t(rep) % op.variants.size();
        callMs.push_back(timeMs(op.variants[v]));
        // What the event loop then does for the call: the settings file's deferred write, the
        // scene's reaction to the signals.
        eventsMs.push_back(timeMs([] { QCoreApplication::processEvents(); }));
        if (op.variants.size() == 2) {
            // The card stores only changed values, so replaying what was just written would cost
            // less than the call did: the other variant's lines first, then these, which also
            // leaves the card where the controller believes it is.
            const int64_t other = Bench::replay(lines[1 - v], &failures);
            const int64_t same = Bench::replay(lines[v], &failures);
            floorMs.push_back(Bench::toMs(other + same) / 2);
        } else {
            floorMs.push_back(Bench::toMs(Bench::replay(lines[v], &failures)));
        }
    }
    const Stats call = stats(callMs);
    const Stats events = stats(eventsMs);
    const Stats floor = stats(floorMs);
    const bool noRuns = lines.front().empty();
    char ratio[32];
    snprintf(ratio, sizeof ratio, "%.2f", floor.median > 0 ? call.median / floor.median : 0.0);
    fprintf(table, "| %s | %zu | %d | %s | %s | %s | %s |\n", op.name.c_str(), lines.front().size(),
            op.reps, cell(call).c_str(), cell(events).c_str(), noRuns ? "–" : cell(floor).c_str(),
            noRuns ? "–" : ratio);
    if (failures)
        fprintf(stderr, "bench_ops: %s: %d replayed command lines exited non-zero\n", op.name.c_str(),
                failures);
    fflush(table);
}

bool waitForFrame(QQuickWindow &window)
{
    QEventLoop loop;
    bool swapped = false;
    QObject::connect(&window, &QQuickWindow::frameSwapped, &loop, [&] {
        swapped = true;
        loop.quit();
    });
    QTimer::singleShot(30000, &loop, &QEventLoop::quit);
    loop.exec();
    return swapped;
}

EqualizerPaths pathsIn(const QString &settingsFile)
{
    EqualizerPaths paths;
    paths.settingsFile = settingsFile;
    paths.settingsLock = settingsFile + QStringLiteral(".lock");
    return paths;
}

// The way a user gets there: a start on empty settings, the gains of "Bass" set by hand and saved,
// sweet spot 3, two more changes, all of it saved as the user profile and the user profile chosen.
int makeWarm(const QString &file)
{
    {
        Equalizer equalizer(nullptr, pathsIn(file));
        for (int band = 1; band <= 10; ++band)
            equalizer.changeGain(band, bassGains[band - 1]);
        equalizer.saveToPresets(0);
        equalizer.setSweetspot(3);
        equalizer.changeDBEParams(3, 60);
        equalizer.setVolume(70);
        equalizer.saveToProfiles(0);
        equalizer.setToProfiles(0);
    }
    QSettings check(file, QSettings::NativeFormat);
    fprintf(stderr, "bench_ops: %s: PresetedId=%d Sweetspot=%d ProfileId=%d, %d recorded commands\n",
            qUtf8Printable(file), check.value(QStringLiteral("PresetedId")).toInt(),
            check.value(QStringLiteral("Sweetspot")).toInt(), check.value(QStringLiteral("ProfileId")).toInt(),
            int(check.value(QStringLiteral("User Profile")).toHash().size()));
    return check.value(QStringLiteral("ProfileId")).toInt() == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char *argv[])
{
    setvbuf(stdout, nullptr, _IOLBF, 0);
    bool quick = false;
    double scale = 1;
    QString warmFile;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--quick") {
            quick = true;
        } else if (arg == "--scale" && i + 1 < argc) {
            scale = atof(argv[++i]);
        } else if (arg == "--output" && i + 1 < argc) {
            if (!(table = fopen(argv[++i], "w"))) {
                perror(argv[i]);
                return 2;
            }
        } else if (arg == "--make-warm" && i + 1 < argc) {
            warmFile = QString::fromLocal8Bit(argv[++i]);
        } else {
            fprintf(stderr, "usage: %s [--quick] [--scale N] [--output FILE] | --make-warm FILE\n", argv[0]);
            return 2;
        }
    }

    QGuiApplication app(argc, argv);
    Startup::registerTypes();
    if (!warmFile.isEmpty())
        return makeWarm(warmFile);

    Recorder recorder;
    if (!recorder.usable()) {
        fprintf(stderr, "bench_ops: EQ_CARD_DIR must name a virtual card made by its env script\n");
        return 2;
    }
    const auto reps = [&](int full, int fast) { return std::max(2, int((quick ? fast : full) * scale)); };

    fprintf(table, "| operation | amixer runs | calls | call ms | then events ms | floor ms | call / floor |\n");
    fprintf(table, "|---|---:|---:|---|---|---|---:|\n");

    // The runner's own share: one read on a process object of its own (as the volume read does),
    // here while the process is as small as during the start's mixer work, and again below with
    // the scene loaded.
    const QString readLine = QStringLiteral("amixer sget \"User PEQ Band3 Gain\"");
    const auto runnerRead = [&] { MixerRunner::getVolume(readLine, false); };
    measure({"one read through the runner, no scene yet", {runnerRead}, reps(200, 40)}, recorder);

    QTemporaryDir dir;
    const QString settingsFile = dir.filePath(QStringLiteral("Equalizer.conf"));
    {
        QSettings settings(settingsFile, QSettings::NativeFormat);
        settings.setValue(QStringLiteral("Bass"), presetHash(bassGains));
        settings.setValue(QStringLiteral("Rock"), presetHash(rockGains));
    }

    Equalizer equalizer(nullptr, pathsIn(settingsFile));
    QtQuick2ApplicationViewer viewer;
    equalizer.setViewer(&viewer);
    Startup::publish(viewer, equalizer);
    Startup::loadScene(viewer);
    viewer.showFullScreen();
    if (!waitForFrame(viewer)) {
        fprintf(stderr, "bench_ops: the scene showed no frame\n");
        return 1;
    }

    QSettings probe(dir.filePath(QStringLiteral("probe.conf")), QSettings::NativeFormat);
    const std::vector<Operation> operations = {
        {"changeGain(3, ±4)",
         {[&] { equalizer.changeGain(3, 4); }, [&] { equalizer.changeGain(3, -4); }},
         reps(200, 40)},
        {"setToPreset(0 / 1)",
         {[&] { equalizer.setToPreset(0); }, [&] { equalizer.setToPreset(1); }},
         reps(40, 10)},
        {"changePeq(1 / 0)",
         {[&] { equalizer.changePeq(1); }, [&] { equalizer.changePeq(0); }},
         reps(40, 10)},
        {"setToProfiles(1)", {[&] { equalizer.setToProfiles(1); }}, reps(12, 4)},
        {"one read through the runner, scene shown", {runnerRead}, reps(200, 40)},
        {"SetAlsaVelto.sh alone, from a plain loop", {[] { Bench::run({"SetAlsaVelto.sh"}); }}, reps(12, 4)},
        // What a changed choice costs the event loop afterwards: one stored key and the write of
        // the file, on the same disk as the controller's settings.
        {"one settings key stored and written", {[&] {
             probe.setValue(QStringLiteral("PresetedId"), -1);
             probe.sync();
         }},
         reps(40, 10)},
    };
    for (const Operation &op : operations)
        measure(op, recorder);

    equalizer.setViewer(nullptr);
    if (table != stdout)
        fclose(table);
    return 0;
}

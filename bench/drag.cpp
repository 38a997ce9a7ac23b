// bench_drag: a finger dragging one band slider across 40 dB in 2 seconds on the 800x480 scene,
// once against the card and once against a mixer tool that answers at once (/bin/true as amixer).
// The finger moves with the clock, not with the event loop: every pointer event carries where the
// finger is at that moment, as a touch screen's latest report does, so a slow write cannot make the
// finger wait. Prints, for each run, the writes sent against the whole-dB steps crossed; the frame
// time of each gain the controller reported, from gainChanged to the next QQuickWindow::frameSwapped
// (the scene draws only when something moved, so the gaps between frames say nothing by themselves),
// with the frames a 60 Hz display would have dropped meanwhile; and the longest the GUI thread left
// the finger's reports waiting.
//
//   bench_drag [--output FILE]
//
// Needs the virtual card's environment and the tuning scripts on PATH, like bench_ops.

#include "app/startup.h"
#include "bench/spawn.h"
#include "equalizer/equalizer.h"
#include "viewer/qtquick2applicationviewer.h"

#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QGuiApplication>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

const int fromDb = -20, toDb = 20;
const qint64 dragNs = 2000000000;
const double reportMs = 8; // a touch controller's report rate
const double frameMs = 1000.0 / 60;

QQuickItem *find(QQuickItem *root, const QString &name)
{
    QList<QQuickItem *> pending{root};
    while (!pending.isEmpty()) {
        QQuickItem *item = pending.takeFirst();
        if (item->objectName() == name)
            return item;
        pending << item->childItems();
    }
    return nullptr;
}

QPointF handleAt(QQuickItem *column, int db)
{
    QVariant y;
    QMetaObject::invokeMethod(column, "yAt", Q_RETURN_ARG(QVariant, y), Q_ARG(QVariant, db));
    return column->mapToScene(QPointF(column->width() / 2, y.toReal()));
}

double percentile(std::vector<double> v, double p)
{
    if (v.empty())
        return 0;
    std::sort(v.begin(), v.end());
    return v[size_t(p * double(v.size() - 1))];
}

struct Result {
    int writes = 0;
    int steps = 0;
    std::vector<double> shown; // ms from a reported gain to the frame that shows it
    double longestGap = 0;     // ms between two of the finger's reports, against reportMs
};

Result drag(QQuickWindow &window, Equalizer &eq, QQuickItem *column, int band)
{
    eq.changeGain(band, fromDb);
    QTest::qWait(200);
    Result result;
    std::vector<qint64> pending;
    QObject::connect(&eq, &Equalizer::gainChanged, &eq, [&] {
        ++result.writes;
        pending.push_back(Bench::nowNs());
    });
    auto frames = QObject::connect(&window, &QQuickWindow::frameSwapped, &eq, [&] {
        const qint64 now = Bench::nowNs();
        for (qint64 at : pending)
            result.shown.push_back(Bench::toMs(now - at));
        pending.clear();
    }, Qt::DirectConnection);

    const QPointF start = handleAt(column, fromDb), end = handleAt(column, toDb);
    QTest::mousePress(&window, Qt::LeftButton, {}, start.toPoint());
    const qint64 t0 = Bench::nowNs();
    QEventLoop loop;
    QTimer finger;
    finger.setInterval(int(reportMs));
    qint64 lastReport = t0;
    QObject::connect(&finger, &QTimer::timeout, &loop, [&] {
        const qint64 now = Bench::nowNs();
        result.longestGap = std::max(result.longestGap, Bench::toMs(now - lastReport));
        lastReport = now;
        const double f = std::min(1.0, double(Bench::nowNs() - t0) / double(dragNs));
        QTest::mouseMove(&window, (start + (end - start) * f).toPoint());
        if (f >= 1.0)
            loop.quit();
    });
    finger.start();
    loop.exec();
    QTest::mouseRelease(&window, Qt::LeftButton, {}, end.toPoint());
    QTest::qWait(300);
    QObject::disconnect(frames);
    QObject::disconnect(&eq, &Equalizer::gainChanged, &eq, nullptr);
    result.steps = toDb - fromDb;
    return result;
}

void report(FILE *out, const char *card, const Result &r)
{
    int dropped = 0;
    for (double ms : r.shown)
        dropped += int(ms / frameMs);
    fprintf(out, "| %s | %d | %d | %s | %zu | %.1f | %.1f | %.1f | %d | %.1f |\n", card, r.steps, r.writes,
            r.writes <= r.steps ? "none" : "yes", r.shown.size(), percentile(r.shown, 0.5), percentile(r.shown, 0.95),
            percentile(r.shown, 1.0), dropped, r.longestGap);
}

} // namespace

int main(int argc, char *argv[])
{
    setvbuf(stdout, nullptr, _IOLBF, 0);
    FILE *out = stdout;
    for (int i = 1; i < argc; ++i) {
        if (qstrcmp(argv[i], "--output") == 0 && i + 1 < argc && !(out = fopen(argv[++i], "w"))) {
            perror(argv[i]);
            return 2;
        }
    }
    QGuiApplication app(argc, argv);
    Startup::registerTypes();
    QTemporaryDir dir;
    EqualizerPaths paths;
    paths.settingsFile = dir.filePath(QStringLiteral("Equalizer.conf"));
    paths.settingsLock = paths.settingsFile + QStringLiteral(".lock");
    paths.keyDevice = dir.filePath(QStringLiteral("no-key-device"));
    QSettings(paths.settingsFile, QSettings::NativeFormat).setValue(QStringLiteral("DebugLevel"), 0);

    Equalizer eq(nullptr, paths);
    QtQuick2ApplicationViewer viewer;
    eq.setViewer(&viewer);
    Startup::publish(viewer, eq);
    viewer.resize(800, 480);
    Startup::loadScene(viewer);
    viewer.show();
    if (!QTest::qWaitForWindowExposed(&viewer) || !viewer.rootObject()) {
        fprintf(stderr, "bench_drag: the scene did not come up\n");
        return 1;
    }
    const int band = 5;
    QQuickItem *column = find(viewer.contentItem(), QStringLiteral("band%1").arg(band));
    if (!column) {
        fprintf(stderr, "bench_drag: no band%d column\n", band);
        return 1;
    }

    fprintf(out, "| card | whole-dB steps crossed | writes sent | backlog | gains shown | frame ms (gain to screen) median | p95 "
                 "| max | frames dropped at 60 Hz | longest wait of the finger ms |\n");
    fprintf(out, "|---|---|---|---|---|---|---|---|---|---|\n");
    report(out, "virtual card", drag(viewer, eq, column, band));

    // A mixer tool that costs nothing: only the scene and the controller's own work remain.
    QTemporaryDir instant;
    QFile::link(QStringLiteral("/bin/true"), instant.filePath(QStringLiteral("amixer")));
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", QFile::encodeName(instant.path()) + ':' + path);
    report(out, "answers at once", drag(viewer, eq, column, band));
    qputenv("PATH", path);
    return 0;
}

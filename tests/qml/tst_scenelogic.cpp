// The scene's script libraries, as installed, run in a real QML engine: the peak of the response
// curve and the fit under 0 dB, the gain and frequency axes and the undo history. A drag's writes
// are seen where the finger is, in the scene tests.

#include <QQmlComponent>
#include <QQmlEngine>
#include <QtTest>

#include <cmath>
#include <memory>

namespace {

// Drives the libraries from QML, where callbacks and JS arrays are at home. Each function takes
// its arguments as one list.
const char driver[] = R"(
import QtQml 2.15
import "logic/response.js" as Response
import "logic/undo.js" as Undo
import "logic/scale.js" as Scale
QtObject {
    function bands(freqs, gains) { return freqs.map(function (freq, i) { return { freq: freq, gain: gains[i] }; }); }
    // The peak and the fit for bands at a[0] with gains a[1], master, lowest and highest gain a[2]:
    // [db, freq, fit] (null for none).
    function headroom(a) {
        const top = Response.peak(bands(a[0], a[1]), a[2][0]);
        return [top ? top.db : NaN, top ? top.freq : NaN, Response.fit(top, bands(a[0], a[1]), a[2][0], a[2][1], a[2][2])];
    }
    // The position of a[0] dB on the axis from a[1] to a[2], and the first whole dB that does not
    // come back from its position (null: all do).
    function gainAxis(a) {
        let lost = null;
        for (let db = a[2]; db >= a[1]; --db) {
            if (Math.abs(Scale.gainAt(Scale.position(db, a[1], a[2]), a[1], a[2]) - db) > 1e-9)
                lost = db;
        }
        return [Scale.position(a[0], a[1], a[2]), lost];
    }
    function columnAt(a) { return Response.columnAt(a[0], a[1]); }
    function frequencyAt(a) { return Response.frequencyAt(a[0], a[1]); }
    // Records the steps a[0] (each [peq, [band, from, to], ...]) as gestures between two snapshots
    // of the gains, then undoes a[1] times on a controller that refuses the bands in a[2] and whose
    // bands in a[3] ([band, gain], ...) were changed since by someone else. Returns the writes made
    // and the steps left.
    function undo(a) {
        let history = [];
        const now = {};
        for (const step of a[0]) {
            const gains = [0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0];
            step.slice(1).forEach(function (c) { gains[c[0]] = c[1]; now[c[0]] = c[2]; });
            history = Undo.around(history, step[0], function () { return gains.slice(); },
                                  function () { step.slice(1).forEach(function (c) { gains[c[0]] = c[2]; }); });
        }
        a[3].forEach(function (c) { now[c[0]] = c[1]; });
        let peq = 0;
        const writes = [];
        const controller = {
            peq: function () { return peq; },
            changePeq: function (p) { peq = p; },
            gain: function (band) { return now[band]; },
            changeGain: function (band, gain) {
                writes.push([peq, band, gain]);
                if (a[2].indexOf(band) >= 0)
                    return false;
                now[band] = gain;
                return true;
            }
        };
        for (let i = 0; i < a[1]; ++i)
            history = Undo.undoOn(history, controller);
        return [writes, history.map(function (s) { return [s.peq, s.changes.length]; })];
    }
}
)";

const QVariantList centres{60, 170, 310, 600, 1000, 3000, 6000, 12000, 14000, 16000};

QVariantList ints(std::initializer_list<int> values)
{
    return QVariantList(values.begin(), values.end());
}

} // namespace

class TestSceneLogic : public QObject
{
    Q_OBJECT

    QVariant call(const char *function, const QVariantList &args)
    {
        QVariant result;
        if (!QMetaObject::invokeMethod(logic.get(), function, Q_RETURN_ARG(QVariant, result), Q_ARG(QVariant, args)))
            qWarning("cannot call %s", function);
        return result.value<QJSValue>().isUndefined() ? result : result.value<QJSValue>().toVariant();
    }

    QQmlEngine engine;
    std::unique_ptr<QObject> logic;

private slots:
    void initTestCase()
    {
        const QString dir = qEnvironmentVariable("EQ_BUILD_DIR") + QStringLiteral("/usr/share/qml/equalizer/");
        QQmlComponent component(&engine);
        component.setData(driver, QUrl::fromLocalFile(dir + QStringLiteral("logic-driver.qml")));
        logic.reset(component.create());
        QVERIFY2(logic, qPrintable(component.errorString()));
    }

    void headroom_data()
    {
        QTest::addColumn<QVariantList>("freqs");
        QTest::addColumn<QVariantList>("gains");
        QTest::addColumn<QVariantList>("levels"); // master, lowest and highest gain
        QTest::addColumn<QVariantList>("peak");   // lowest and highest dB, lowest and highest Hz; empty: none
        QTest::addColumn<QVariant>("fit");        // invalid: none

        const QVariantList bounds{0, -60, 20}, none;
        QVariantList octaves;
        for (int f = 20; f <= 20480; f *= 2)
            octaves << f;
        // Ten gains at `level`, then some bands (1 to 10) set apart.
        const auto with = [](std::initializer_list<std::pair<int, double>> bands, double level = 0) {
            QVariantList gains;
            for (int i = 0; i < 10; ++i)
                gains << level;
            for (const auto &band : bands)
                gains[band.first - 1] = band.second;
            return gains;
        };
        QTest::newRow("flat: 0 dB, the master stays") << centres << with({}) << bounds << QVariantList{0, 0, 19.99, 20000.01} << QVariant(0);
        QTest::newRow("one band +6: +6 dB at its centre")
                << centres << with({{5, 6}}) << bounds << QVariantList{6, 6, 999.99, 1000.01} << QVariant(-6);
        QTest::newRow("neighbours +5 and +5: more between them")
                << centres << with({{4, 5}, {5, 5}}) << bounds << QVariantList{5.5, 7, 600, 1000} << QVariant(-7);
        QTest::newRow("the same, master -8: below 0, the fit raises it")
                << centres << with({{4, 5}, {5, 5}}) << QVariantList{-8, -60, 20} << QVariantList{-2.5, -1, 600, 1000} << QVariant(-7);
        QTest::newRow("every band -10 over the whole range: the fit raises the master")
                << octaves << with({}, -10) + QVariantList{-10} << bounds << QVariantList{-12, -10, 20, 20480} << QVariant(11);
        QTest::newRow("+6.03 counts as +6: the fit lands on 0 dB")
                << centres << with({{2, 2}, {5, 6}}) << bounds << QVariantList{6.01, 6.05, 990, 1010} << QVariant(-6);
        QTest::newRow("+6.06 does not: one below")
                << centres << with({{3, 1}, {5, 6}}) << bounds << QVariantList{6.05, 6.07, 990, 1010} << QVariant(-7);
        QTest::newRow("gains at the bounds: the fit stops at the lowest gain")
                << centres << with({}, 12) << QVariantList{12, -12, 12} << QVariantList{40, 50, 20, 20000} << QVariant(-12);
        QTest::newRow("a failed read (-61): a peak, but no fit")
                << centres << with({{3, -61}}) << bounds << QVariantList{-1, 0, 19.99, 20000.01} << QVariant();
        QTest::newRow("a band without its frequency adds nothing") << centres.mid(0, 9) + QVariantList{QVariant()}
                << with({{5, 6}, {10, 12}}) << bounds << QVariantList{6, 6, 999.99, 1000.01} << QVariant(-6);
        QTest::newRow("a gain that is not a number: neither") << centres << with({{5, qQNaN()}}) << bounds << none << QVariant();
        QTest::newRow("an infinite master: neither") << centres << with({}) << QVariantList{qInf(), -60, 20} << none << QVariant();
    }

    void headroom()
    {
        QFETCH(QVariantList, freqs);
        QFETCH(QVariantList, gains);
        QFETCH(QVariantList, levels);
        QFETCH(QVariantList, peak);
        QFETCH(QVariant, fit);

        const QVariantList result = call("headroom", {freqs, gains, levels}).toList();
        QCOMPARE(result.size(), 3);
        const double db = result[0].toDouble(), freq = result[1].toDouble();
        if (peak.isEmpty()) {
            QVERIFY(std::isnan(db));
        } else {
            QVERIFY2(db >= peak[0].toDouble() - 1e-9 && db <= peak[1].toDouble() + 1e-9, qPrintable(QString::number(db)));
            QVERIFY2(freq >= peak[2].toDouble() && freq <= peak[3].toDouble(), qPrintable(QString::number(freq)));
        }
        QCOMPARE(result[2].isNull() || !result[2].isValid(), !fit.isValid());
        if (fit.isValid())
            QCOMPARE(result[2].toInt(), fit.toInt());
    }

    void gainAxis_data()
    {
        QTest::addColumn<int>("from");
        QTest::addColumn<int>("to");
        QTest::addColumn<int>("db");
        QTest::addColumn<double>("expected");

        // -60..20: 48 coarse dB (weight 12) below the fine range, 24 fine, 8 coarse (2) above: 38.
        QTest::newRow("0 dB: past the coarse 48 and the fine 12 below it") << -60 << 20 << 0 << 24.0 / 38;
        QTest::newRow("one fine dB is four coarse ones") << -60 << 20 << 1 << 25.0 / 38;
        QTest::newRow("below the range: the bottom") << -60 << 20 << -61 << 0.0;
        QTest::newRow("a narrow range is linear") << -10 << 10 << 5 << 0.75;
        QTest::newRow("an empty range: the middle") << 0 << 0 << 0 << 0.5;
    }

    // Every whole dB of the range also comes back from its position.
    void gainAxis()
    {
        QFETCH(int, from);
        QFETCH(int, to);
        QFETCH(int, db);
        QFETCH(double, expected);

        const QVariantList result = call("gainAxis", {db, from, to}).toList();
        QVERIFY2(std::abs(result[0].toDouble() - expected) < 1e-12, qPrintable(result[0].toString()));
        QVERIFY2(result[1].isNull() || !result[1].isValid(), qPrintable(result[1].toString()));
    }

    void axisPutsEachBandOnItsColumn()
    {
        for (int i = 0; i < centres.size(); ++i)
            QCOMPARE(call("columnAt", {centres[i], centres}).toDouble(), double(i));
        double last = -1e9;
        for (double f = 20; f <= 20000; f *= 1.1) {
            const double x = call("columnAt", {f, centres}).toDouble();
            QVERIFY2(x > last, qPrintable(QString::number(f)));
            QVERIFY(std::abs(call("frequencyAt", {x, centres}).toDouble() - f) < f * 1e-9);
            last = x;
        }
    }

    void undo_data()
    {
        QTest::addColumn<QVariantList>("steps");
        QTest::addColumn<int>("undos");
        QTest::addColumn<QVariantList>("refused");
        QTest::addColumn<QVariantList>("since"); // [band, gain] set by another program after the steps
        QTest::addColumn<QVariantList>("writes");
        QTest::addColumn<QVariantList>("left");

        const QVariantList none;
        QTest::newRow("nothing to undo: no write") << none << 1 << none << none << none << none;
        QTest::newRow("newest step first, its last change first")
                << QVariantList{QVariantList{0, ints({3, 0, 4})}, QVariantList{0, ints({1, 2, 5}), ints({7, -3, 0})}} << 1 << none << none
                << QVariantList{ints({0, 7, -3}), ints({0, 1, 2})} << QVariantList{ints({0, 1})};
        QTest::newRow("a step keeps its speaker set")
                << QVariantList{QVariantList{2, ints({0, 0, -6})}} << 1 << none << none << QVariantList{ints({2, 0, 0})} << none;
        QTest::newRow("a refused band stays for another try")
                << QVariantList{QVariantList{0, ints({1, 0, 3}), ints({2, 0, 4})}} << 1 << ints({2}) << none
                << QVariantList{ints({0, 2, 0}), ints({0, 1, 0})} << QVariantList{ints({0, 1})};
        QTest::newRow("a band changed since by another program keeps that change")
                << QVariantList{QVariantList{0, ints({3, 0, 4}), ints({5, 0, 2})}} << 1 << none << QVariantList{ints({3, -2})}
                << QVariantList{ints({0, 5, 0})} << none;
        QTest::newRow("a gesture that changed nothing is no step")
                << QVariantList{QVariantList{0, ints({3, 4, 4})}} << 1 << none << none << none << none;

        QVariantList many, lastWrites;
        for (int i = 1; i <= 21; ++i)
            many.append(QVariant(QVariantList{0, ints({1, i - 1, i})}));
        for (int i = 21; i >= 2; --i)
            lastWrites.append(QVariant(ints({0, 1, i - 1})));
        QTest::newRow("21 steps: the oldest is gone, 20 undos take the rest") << many << 21 << none << none << lastWrites << none;
    }

    void undo()
    {
        QFETCH(QVariantList, steps);
        QFETCH(int, undos);
        QFETCH(QVariantList, refused);
        QFETCH(QVariantList, since);
        QFETCH(QVariantList, writes);
        QFETCH(QVariantList, left);

        QCOMPARE(call("undo", {steps, undos, refused, since}).toList(), (QVariantList{writes, left}));
    }
};

QTEST_MAIN(TestSceneLogic)
#include "tst_scenelogic.moc"

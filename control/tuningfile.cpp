#include "control/tuningfile.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QVector>

#include <cmath>

namespace TuningFile {

namespace {

const QString formatName = QStringLiteral("equalizer-tuning");
// An APO filter further than this from every band centre fits no band. The closest centres
// (14 and 16 kHz) are a fifth of an octave apart.
const double maxOctaves = 1.0 / 6;

QJsonValue number(int value)
{
    return value == unread ? QJsonValue() : QJsonValue(value);
}

QJsonArray numbers(const QList<int> &values)
{
    QJsonArray array;
    for (int value : values)
        array.append(number(value));
    return array;
}

QString joined(const QList<int> &values)
{
    QStringList texts;
    for (int value : values)
        texts << QString::number(value);
    return texts.join(QLatin1Char(' '));
}

// Reads a native document, keeping the first problem with the path of the value that has it.
class Reader
{
public:
    explicit Reader(Report &report)
        : report(report)
    {
    }

    QString error;

    QJsonObject object(const QJsonValue &value, const QString &path, const QStringList &keys)
    {
        if (!value.isObject()) {
            fail(path, value.isUndefined() ? QStringLiteral("missing") : QStringLiteral("not an object"));
            return QJsonObject();
        }
        const QJsonObject object = value.toObject();
        for (auto it = object.begin(); it != object.end(); ++it) {
            if (!keys.contains(it.key()))
                report.skipped << QStringLiteral("%1.%2: not a key of this format, left out").arg(path, it.key());
        }
        return object;
    }

    int whole(const QJsonValue &value, const QString &path, Range range)
    {
        const double d = value.toDouble();
        if (value.isUndefined())
            fail(path, QStringLiteral("missing"));
        else if (value.isNull())
            fail(path, QStringLiteral("was not read from the card when the file was made"));
        else if (!value.isDouble() || !std::isfinite(d) || std::floor(d) != d)
            fail(path, QStringLiteral("not a whole number"));
        else if (!range.contains(qint64(qBound(-1e18, d, 1e18))))
            fail(path, QStringLiteral("%1 is out of range %2 to %3").arg(d).arg(range.from).arg(range.to));
        else
            return int(d);
        return 0;
    }

    QList<int> wholes(const QJsonValue &value, const QString &path, int count, Range range)
    {
        QList<int> values;
        const QJsonArray array = value.toArray();
        if (!value.isArray() || array.size() != count) {
            fail(path, QStringLiteral("not a list of %1 numbers").arg(count));
            return values;
        }
        for (int i = 0; i < count; ++i)
            values << whole(array.at(i), QStringLiteral("%1[%2]").arg(path).arg(i), range);
        return values;
    }

    QString name(const QJsonValue &value, const QString &path, const QStringList &names)
    {
        if (!names.contains(value.toString()))
            fail(path, QStringLiteral("not one of %1").arg(names.join(QStringLiteral(", "))));
        return value.toString();
    }

    void fail(const QString &path, const QString &what)
    {
        if (error.isEmpty())
            error = path + QStringLiteral(": ") + what;
    }

private:
    Report &report;
};

Parsed parseNative(const QString &text, const Catalogue &c)
{
    Parsed parsed;
    QJsonParseError jsonError;
    const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8(), &jsonError);
    if (!document.isObject()) {
        parsed.error = jsonError.error != QJsonParseError::NoError
            ? QStringLiteral("not a JSON document: %1 at offset %2").arg(jsonError.errorString()).arg(jsonError.offset)
            : QStringLiteral("not a tuning file: the document is not an object");
        return parsed;
    }
    Report &report = parsed.report;
    Reader r(report);
    const QJsonObject top = r.object(document.object(), QStringLiteral("file"),
                                     {"format", "version", "speakers", "dbe", "channelDelays", "sweetSpot",
                                      "voice", "volume", "presets", "profile"});
    if (top.value(QLatin1String("format")).toString() != formatName) {
        parsed.error = QStringLiteral("not a tuning file: \"format\" is not \"%1\"").arg(formatName);
        return parsed;
    }
    r.whole(top.value(QLatin1String("version")), QStringLiteral("version"), {version, version});

    Tuning &t = parsed.tuning;
    const QJsonObject speakers = r.object(top.value(QLatin1String("speakers")), QStringLiteral("speakers"), c.speakers);
    for (const QString &speaker : c.speakers) {
        const QString path = QStringLiteral("speakers.") + speaker;
        const QJsonObject o = r.object(speakers.value(speaker), path, {"mode", "coreType", "master", "bands"});
        SpeakerSet &set = t.speakers[speaker];
        set.mode = r.name(o.value(QLatin1String("mode")), path + QStringLiteral(".mode"), c.modes);
        set.coreType = r.name(o.value(QLatin1String("coreType")), path + QStringLiteral(".coreType"), c.coreTypes);
        set.master = r.whole(o.value(QLatin1String("master")), path + QStringLiteral(".master"), c.gain);
        set.bands = r.wholes(o.value(QLatin1String("bands")), path + QStringLiteral(".bands"), 10, c.gain);
        report.applied << QStringLiteral("speaker %1: mode %2, core type %3, master %4 dB, bands %5 dB")
                              .arg(speaker, set.mode, set.coreType).arg(set.master).arg(joined(set.bands));
    }
    const QJsonObject dbe = r.object(top.value(QLatin1String("dbe")), QStringLiteral("dbe"), c.dbe);
    QStringList dbeTexts;
    for (int type = 0; type < c.dbe.size(); ++type) {
        const int value = r.whole(dbe.value(c.dbe[type]), QStringLiteral("dbe.") + c.dbe[type], c.dbeRanges[type]);
        t.dbe.insert(c.dbe[type], value);
        dbeTexts << QStringLiteral("%1 %2").arg(c.dbe[type]).arg(value);
    }
    report.applied << QStringLiteral("DBE: ") + dbeTexts.join(QStringLiteral(", "));
    t.channelDelays = r.wholes(top.value(QLatin1String("channelDelays")), QStringLiteral("channelDelays"), 4, c.delay);
    report.applied << QStringLiteral("channel delays: ") + joined(t.channelDelays);
    t.sweetSpot = r.whole(top.value(QLatin1String("sweetSpot")), QStringLiteral("sweetSpot"), c.sweetSpot);
    report.applied << QStringLiteral("sweet spot: %1").arg(t.sweetSpot);
    const QJsonObject voice = r.object(top.value(QLatin1String("voice")), QStringLiteral("voice"), {"send", "receive", "twoMic"});
    t.cvcSend = r.whole(voice.value(QLatin1String("send")), QStringLiteral("voice.send"), c.voiceMode);
    t.cvcRecv = r.whole(voice.value(QLatin1String("receive")), QStringLiteral("voice.receive"), c.voiceMode);
    if (!voice.value(QLatin1String("twoMic")).isBool())
        r.fail(QStringLiteral("voice.twoMic"), QStringLiteral("not true or false"));
    t.twoMic = voice.value(QLatin1String("twoMic")).toBool();
    report.applied << QStringLiteral("voice: send mode %1, receive mode %2, two microphones %3")
                          .arg(t.cvcSend).arg(t.cvcRecv).arg(t.twoMic ? "on" : "off");
    t.volume = r.whole(top.value(QLatin1String("volume")), QStringLiteral("volume"), c.volume);
    report.applied << QStringLiteral("volume: %1").arg(t.volume);
    const QJsonObject presets = r.object(top.value(QLatin1String("presets")), QStringLiteral("presets"), c.presets);
    for (const QString &preset : c.presets) {
        const QJsonValue gains = presets.value(preset);
        if (gains.isNull()) {
            report.skipped << QStringLiteral("preset %1: never saved on the unit that made the file, left as it is").arg(preset);
            continue;
        }
        t.presets.insert(preset, r.wholes(gains, QStringLiteral("presets.") + preset, 10, c.gain));
        report.applied << QStringLiteral("preset %1: %2 dB").arg(preset, joined(t.presets.value(preset)));
    }
    t.profile = r.name(top.value(QLatin1String("profile")), QStringLiteral("profile"), c.profiles);
    report.applied << QStringLiteral("profile: ") + t.profile;
    parsed.error = r.error;
    return parsed;
}

// A number of an APO line; a comma is taken for the decimal point, as some locales write it.
bool apoNumber(QString text, const QString &where, double *value, Parsed &parsed)
{
    const QString original = text;
    if (text.contains(QLatin1Char(','))) {
        text.replace(QLatin1Char(','), QLatin1Char('.'));
        parsed.report.adjusted << QStringLiteral("%1: \"%2\" read as %3, the comma as a decimal point")
                                      .arg(where, original, text);
    }
    bool ok = false;
    *value = text.toDouble(&ok);
    if (ok && std::isfinite(*value))
        return true;
    parsed.error = QStringLiteral("%1: \"%2\" is not a number").arg(where, original);
    return false;
}

int apoGain(double dB, const QString &what, const Catalogue &c, Report &report)
{
    const double bounded = qBound(double(c.gain.from), dB, double(c.gain.to));
    const int gain = qRound(bounded);
    if (bounded != dB)
        report.adjusted << QStringLiteral("%1: %2 dB is beyond the bounds %3 to %4 dB, taken as %5 dB")
                               .arg(what).arg(dB).arg(c.gain.from).arg(c.gain.to).arg(gain);
    else if (gain != dB)
        report.adjusted << QStringLiteral("%1: %2 dB rounded to %3 dB").arg(what).arg(dB).arg(gain);
    return gain;
}

Parsed parseApo(const QString &text, const Catalogue &c)
{
    Parsed parsed;
    parsed.format = Parsed::Apo;
    Report &report = parsed.report;
    const QRegularExpression preamp(QStringLiteral("^Preamp:\\s*(\\S+)\\s*dB$"), QRegularExpression::CaseInsensitiveOption);
    const QRegularExpression filter(QStringLiteral("^Filter\\s*(\\d*)\\s*:\\s*(ON|OFF)\\s+(\\w+)(.*)$"),
                                    QRegularExpression::CaseInsensitiveOption);
    const QRegularExpression fc(QStringLiteral("\\bFc\\s+(\\S+)\\s*Hz\\b"), QRegularExpression::CaseInsensitiveOption);
    const QRegularExpression gainField(QStringLiteral("\\bGain\\s+(\\S+)\\s*dB\\b"), QRegularExpression::CaseInsensitiveOption);
    const QRegularExpression q(QStringLiteral("\\bQ\\s+(\\S+)"), QRegularExpression::CaseInsensitiveOption);

    const int bandCount = c.bandFrequencies.size();
    QVector<QString> setBy(bandCount); // the filter that set each band
    for (int b = 0; b < bandCount; ++b)
        parsed.bands << 0;
    int fitted = 0;
    bool sawPreamp = false;
    bool sawFilter = false;
    const QStringList lines = text.split(QLatin1Char('\n'));
    for (int i = 0; i < lines.size(); ++i) {
        const QString line = lines[i].trimmed();
        const QString where = QStringLiteral("line %1").arg(i + 1);
        if (line.isEmpty() || line.startsWith(QLatin1Char('#')))
            continue;
        double value = 0;
        const QRegularExpressionMatch p = preamp.match(line);
        if (p.hasMatch()) {
            if (!apoNumber(p.captured(1), where, &value, parsed))
                return parsed;
            parsed.master = apoGain(value, QStringLiteral("Preamp"), c, report);
            report.applied << QStringLiteral("master: %1 dB").arg(parsed.master);
            sawPreamp = true;
            continue;
        }
        const QRegularExpressionMatch f = filter.match(line);
        if (!f.hasMatch()) {
            report.skipped << QStringLiteral("%1: not a Preamp or Filter line, left out").arg(where);
            continue;
        }
        sawFilter = true;
        const QString name = f.captured(1).isEmpty() ? where : QStringLiteral("Filter ") + f.captured(1);
        const QString rest = f.captured(4);
        const QRegularExpressionMatch hz = fc.match(rest), db = gainField.match(rest), qm = q.match(rest);
        if (f.captured(2).compare(QLatin1String("ON"), Qt::CaseInsensitive) != 0) {
            report.skipped << name + QStringLiteral(": switched off");
            continue;
        }
        if (f.captured(3).compare(QLatin1String("PK"), Qt::CaseInsensitive) != 0) {
            report.skipped << QStringLiteral("%1: type %2 is not a peaking filter, the only kind the bands are")
                                  .arg(name, f.captured(3));
            continue;
        }
        if (!hz.hasMatch() || !db.hasMatch()) {
            report.skipped << name + QStringLiteral(": no \"Fc ... Hz\" or no \"Gain ... dB\"");
            continue;
        }
        double hertz = 0, dB = 0, quality = bandQ;
        if (!apoNumber(hz.captured(1), name, &hertz, parsed) || !apoNumber(db.captured(1), name, &dB, parsed)
            || (qm.hasMatch() && !apoNumber(qm.captured(1), name, &quality, parsed)))
            return parsed;
        int band = -1;
        double distance = maxOctaves;
        for (int b = 0; b < bandCount && hertz > 0; ++b) {
            const double octaves = std::abs(std::log2(hertz / c.bandFrequencies[b]));
            if (octaves <= distance) {
                band = b;
                distance = octaves;
            }
        }
        if (band < 0) {
            report.skipped << QStringLiteral("%1: %2 Hz is far from every band centre").arg(name).arg(hertz);
            continue;
        }
        const QString label = QStringLiteral("band %1 (%2 Hz)").arg(band + 1).arg(c.bandFrequencies[band]);
        if (!setBy[band].isEmpty()) {
            report.skipped << QStringLiteral("%1: %2 is already set by %3").arg(name, label, setBy[band]);
            continue;
        }
        setBy[band] = name;
        ++fitted;
        if (hertz != c.bandFrequencies[band])
            report.adjusted << QStringLiteral("%1: %2 Hz taken as %3").arg(name).arg(hertz).arg(label);
        if (std::abs(quality - bandQ) > 0.005)
            report.adjusted << QStringLiteral("%1: Q %2 is not the bands' Q, applied with Q %3").arg(name).arg(quality).arg(bandQ);
        parsed.bands[band] = apoGain(dB, name, c, report);
        report.applied << QStringLiteral("%1: %2 dB").arg(label).arg(parsed.bands[band]);
    }
    if (!sawFilter)
        parsed.error = QStringLiteral("no filters: neither a tuning document nor a filter list");
    else if (fitted == 0)
        parsed.error = QStringLiteral("no filter of the list fits a band");
    if (!parsed.error.isEmpty())
        return parsed;
    // The list is the whole curve: what it does not raise or lower stays flat.
    if (!sawPreamp)
        report.adjusted << QStringLiteral("master: no Preamp line, set to 0 dB");
    for (int b = 0; b < bandCount; ++b) {
        if (setBy[b].isEmpty())
            report.adjusted << QStringLiteral("band %1 (%2 Hz): no filter, set to 0 dB").arg(b + 1).arg(c.bandFrequencies[b]);
    }
    return parsed;
}

} // namespace

QString formatNative(const Tuning &t)
{
    QJsonObject speakers;
    for (auto it = t.speakers.cbegin(); it != t.speakers.cend(); ++it) {
        speakers.insert(it.key(), QJsonObject{
            {"mode", it->mode.isEmpty() ? QJsonValue() : QJsonValue(it->mode)},
            {"coreType", it->coreType.isEmpty() ? QJsonValue() : QJsonValue(it->coreType)},
            {"master", number(it->master)},
            {"bands", numbers(it->bands)},
        });
    }
    QJsonObject dbe;
    for (auto it = t.dbe.cbegin(); it != t.dbe.cend(); ++it)
        dbe.insert(it.key(), number(it.value()));
    QJsonObject presets;
    for (auto it = t.presets.cbegin(); it != t.presets.cend(); ++it)
        presets.insert(it.key(), it->isEmpty() ? QJsonValue() : QJsonValue(numbers(*it)));
    const QJsonObject document{
        {"format", formatName},
        {"version", version},
        {"speakers", speakers},
        {"dbe", dbe},
        {"channelDelays", numbers(t.channelDelays)},
        {"sweetSpot", t.sweetSpot},
        {"voice", QJsonObject{{"send", number(t.cvcSend)}, {"receive", number(t.cvcRecv)}, {"twoMic", t.twoMic}}},
        {"volume", number(t.volume)},
        {"presets", presets},
        {"profile", t.profile},
    };
    // Lists of numbers on one line each, so that a speaker set reads as one row of gains.
    static const QRegularExpression list(QStringLiteral("\\[\\s+([-\\d,\\snul]+?)\\s+\\]"));
    QString text = QString::fromUtf8(QJsonDocument(document).toJson(QJsonDocument::Indented));
    for (QRegularExpressionMatch m = list.match(text); m.hasMatch(); m = list.match(text, m.capturedStart()))
        text.replace(m.capturedStart(), m.capturedLength(),
                     QLatin1Char('[') + m.captured(1).simplified() + QLatin1Char(']'));
    return text;
}

QString formatApo(int master, const QList<int> &bands, const QList<int> &frequencies)
{
    QString text = QStringLiteral("Preamp: %1 dB\n").arg(master);
    for (int i = 0; i < bands.size() && i < frequencies.size(); ++i)
        text += QStringLiteral("Filter %1: ON PK Fc %2 Hz Gain %3 dB Q %4\n")
                    .arg(i + 1).arg(frequencies[i]).arg(bands[i]).arg(bandQ, 0, 'f', 2);
    return text;
}

Parsed parse(const QString &text, const Catalogue &catalogue)
{
    if (text.toUtf8().size() > maxSize) {
        Parsed parsed;
        parsed.error = QStringLiteral("the text is larger than %1 bytes").arg(maxSize);
        return parsed;
    }
    return text.trimmed().startsWith(QLatin1Char('{')) ? parseNative(text, catalogue) : parseApo(text, catalogue);
}

} // namespace TuningFile

#pragma once

#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

#include <climits>

// The unit's tuning as text, in two formats: "native", the whole tuning as a readable JSON
// document, and "apo", the speaker set on screen as a parametric-equaliser filter list, the common
// exchange text ("Preamp: -3 dB", "Filter 1: ON PK Fc 60 Hz Gain 4 dB Q 1.41"). Pure functions:
// nothing here touches the card or the controller, so a text is checked whole before the first write.
namespace TuningFile {

constexpr int maxSize = 1024 * 1024;
constexpr int version = 1;
// Q of every band, as the response curve on screen draws it (qml/logic/response.js).
constexpr double bandQ = 1.41;
// A value the card did not answer when the tuning was read; written as null.
constexpr int unread = INT_MIN;

struct Range {
    int from;
    int to;
    bool contains(qint64 v) const { return v >= from && v <= to; }
};

// Names and bounds of the unit. The ranges of the raw controls are those the screen offers
// (qml/logic/limits.js): a value no finger can send is refused from the bus and from files too.
struct Catalogue {
    QStringList speakers, modes, coreTypes, presets, profiles;
    QList<int> bandFrequencies; // Hz, band 1 first
    Range gain{-60, 20};        // dB, the controller's bounds
    // The controller's DBE property names in type order, each with its range; type 0 switches the
    // block like a speaker set's mode.
    QStringList dbe{"DBEModeIdx", "DBEXoverFC", "DBEMixBalance", "DBEEffectStrength",
                    "DBEAmpLimit", "DBELPFC", "DBEHPFC", "DBEHarmContent"};
    QList<Range> dbeRanges{{0, 2}, {20, 500}, {0, 100}, {0, 100}, {0, 100}, {20, 500}, {20, 500}, {0, 100}};
    Range volume{0, 127};
    Range delay{0, 768};
    Range voiceMode{0, 7};
    Range sweetSpot{0, 4};
};

struct SpeakerSet {
    QString mode, coreType; // "" when unread
    int master = 0;
    QList<int> bands;
};

struct Tuning {
    QMap<QString, SpeakerSet> speakers;
    QMap<QString, int> dbe;
    QList<int> channelDelays;
    int sweetSpot = 0;
    int cvcSend = 0;
    int cvcRecv = 0;
    bool twoMic = false;
    int volume = 0;
    QMap<QString, QList<int>> presets; // empty: never saved
    QString profile;
};

// What an import takes as it is, takes after a change (and why), and leaves out (and why).
struct Report {
    QStringList applied, adjusted, skipped;
};

struct Parsed {
    enum Format { Native, Apo };
    Format format = Native;
    QString error; // set: the text is refused as a whole
    Tuning tuning; // Native
    int master = 0; // Apo: gains for the speaker set on screen
    QList<int> bands;
    Report report;
};

QString formatNative(const Tuning &tuning);
QString formatApo(int master, const QList<int> &bands, const QList<int> &frequencies);

// Tells the format from the text (a JSON document starts with "{") and checks all of it.
Parsed parse(const QString &text, const Catalogue &catalogue);

} // namespace TuningFile

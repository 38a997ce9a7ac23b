#pragma once

#include <QByteArray>
#include <QString>
#include <QVector>

// Looks at the text of an INI settings file before QSettings does, for the two kinds of damage
// that QSettings cannot survive or recover from:
// - a stored value whose serialized form QSettings would decode into an allocation of any size,
//   or into a type it cannot rebuild safely ("@Variant(...)" and "@DateTime(...)" values). Only
//   what this program writes passes: bools, ints, strings, and hashes of strings to ints or
//   strings, with every count and length inside the bytes present;
// - a line that makes QSettings read the lines after it as part of it (an unclosed double quote,
//   a backslash before the line end) or file the keys after it under no readable name (a section
//   header with an empty name, as a lone "[" is).
// Only the damaged lines are dropped; every other byte stays as it was.
namespace IniCheck {

struct DroppedLine {
    int line = 0; // counted from 1
    QString key;  // as QSettings would name it ("Section/Key"); empty for a line that holds no key
};

struct Result {
    QVector<DroppedLine> dropped;
    QByteArray repaired; // the text without the dropped lines; equal to the input when none is
};

Result check(const QByteArray &text);

} // namespace IniCheck

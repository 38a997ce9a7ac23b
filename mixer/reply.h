#pragma once

#include <QByteArray>

// Cutting a value out of amixer's reply text. Pure functions of the bytes; the positions are kept so
// that the readers can trace them.
namespace MixerReply {

struct Slice {
    int begin = 0;   // first byte of the value text
    int end = 0;     // the position the readers trace as the end mark
    QByteArray text; // the value text
    int value = 0;   // text as a base-10 integer, 0 when it is not one
};

// Integer reads: from behind the first "Mono: " to the blank before the LAST "[". A second bracket
// behind the percentage (a dB figure) therefore yields a text that is no number, and so 0.
Slice integerValue(const QByteArray &reply);

// The volume read: as above, but ending at the FIRST "[".
Slice volumeValue(const QByteArray &reply);

// Text reads: everything between the first "[" and the last "]". begin/end hold the two bracket
// positions.
Slice bracketText(const QByteArray &reply);

} // namespace MixerReply

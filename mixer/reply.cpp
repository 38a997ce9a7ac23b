#include "mixer/reply.h"

namespace MixerReply {

namespace {

// The slice arithmetic runs even when a mark is missing (position -1); QByteArray::mid() then
// clamps the range, so any reply gives a defined, if meaningless, text.
Slice numberBetween(const QByteArray &reply, int mono, int bracket)
{
    Slice slice;
    slice.begin = mono + 6;
    slice.end = bracket - 1;
    slice.text = reply.mid(slice.begin, slice.end - slice.begin);
    slice.value = slice.text.toInt(nullptr, 10);
    return slice;
}

} // namespace

Slice integerValue(const QByteArray &reply)
{
    return numberBetween(reply, reply.indexOf("Mono:"), reply.lastIndexOf('['));
}

Slice volumeValue(const QByteArray &reply)
{
    return numberBetween(reply, reply.indexOf("Mono:"), reply.indexOf('['));
}

Slice bracketText(const QByteArray &reply)
{
    Slice slice;
    slice.begin = reply.indexOf('[');
    slice.end = reply.lastIndexOf(']');
    slice.text = reply.mid(slice.begin + 1, slice.end - slice.begin - 1);
    return slice;
}

} // namespace MixerReply

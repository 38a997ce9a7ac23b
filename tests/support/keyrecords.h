#pragma once

// Key device records in the running kernel's own layout, as the device hands them out: each event
// is {type, code, value}, e.g. {EV_KEY, KEY_HOMEPAGE, 1} for a press of the Home key.

#include <QByteArray>

#include <linux/input.h>

#include <array>
#include <initializer_list>

inline QByteArray keyRecords(std::initializer_list<std::array<int, 3>> events)
{
    QByteArray bytes;
    for (const auto &e : events) {
        input_event event{};
        event.type = quint16(e[0]);
        event.code = quint16(e[1]);
        event.value = e[2];
        bytes.append(reinterpret_cast<const char *>(&event), sizeof event);
    }
    return bytes;
}

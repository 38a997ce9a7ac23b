#include "log/trace.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <string>

namespace Trace {

Flags flagsForLevel(int level)
{
    Flags flags;
    flags.e = level >= 1;
    flags.f = level >= 2;
    flags.i = level >= 3;
    flags.d = level >= 4;
    return flags;
}

void reportLevel(int level, const Flags &flags)
{
    printf("debugLevel: %d\n", level);
    printf("LOG level: e, f, i, d = %d, %d, %d, %d\n", int(flags.e), int(flags.f), int(flags.i),
           int(flags.d));
}

// Formatted whole and handed over in one call: stdio serialises calls, not lines, so pieces written
// one by one could have another thread's line between them.
void line(const char *format, ...)
{
    std::string text = "<Equalizer>";
    const size_t start = text.size();
    va_list args;
    va_start(args, format);
    va_list again;
    va_copy(again, args);
    const size_t length = size_t(std::max(vsnprintf(nullptr, 0, format, args), 0));
    va_end(args);
    // Room for the message and its terminating zero, which the newline then replaces.
    text.resize(start + length + 1);
    vsnprintf(&text[start], length + 1, format, again);
    va_end(again);
    text.back() = '\n';
    fwrite(text.data(), 1, text.size(), stdout);
}

} // namespace Trace

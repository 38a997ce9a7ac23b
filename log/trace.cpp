#include "log/trace.h"

#include <cstdarg>
#include <cstdio>

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

void line(const char *format, ...)
{
    printf("%s", "<Equalizer>");
    va_list args;
    va_start(args, format);
    vprintf(format, args);
    va_end(args);
    printf("\n");
}

} // namespace Trace

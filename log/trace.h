#pragma once

// Trace output of the controller: plain lines on standard output, switched by four flags that are
// derived once from the "DebugLevel" setting.

namespace Trace {

struct Flags {
    bool e = false; // mixer command texts of mode, core type, CVC, delay and profile writes
    bool f = false; // entry traces of the window slots and of setters fed by the UI
    bool i = false; // set and reported, consulted by nothing
    bool d = false; // detail lines; also keeps mixer write output instead of discarding it
};

// Cumulative: each level adds one letter in the order e, f, i, d.
Flags flagsForLevel(int level);

// Prints "debugLevel: N" and the "LOG level: e, f, i, d = ..." line; written whatever the level.
void reportLevel(int level, const Flags &flags);

// Writes the tag "<Equalizer>", the formatted message and a newline, all in one write to standard
// output (which main() makes line-buffered), so that lines of other threads never fall inside it.
void line(const char *format, ...) __attribute__((format(printf, 1, 2)));

} // namespace Trace

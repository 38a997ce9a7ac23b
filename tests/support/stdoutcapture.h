#pragma once

// StdoutCapture: collects what the process writes to file descriptor 1 while it lives, including
// printf/puts output of the code under test. Nest no two captures.
//
//     StdoutCapture out;
//     equalizer.minimize();
//     QCOMPARE(out.text(), QByteArray("<Equalizer>minimize\n"));

#include <QByteArray>
#include <QTemporaryFile>

class StdoutCapture
{
public:
    StdoutCapture();
    ~StdoutCapture();

    // Everything written since construction (flushes stdout first); capture goes on.
    QByteArray text();

private:
    QTemporaryFile file;
    int savedFd = -1;
};

#pragma once

// StdoutCapture: collects what the process writes to file descriptor 1 (or another descriptor, such
// as 2 for standard error) while it lives, including printf/puts output of the code under test. Nest
// no two captures of the same descriptor.
//
//     StdoutCapture out;
//     equalizer.minimize();
//     QCOMPARE(out.text(), QByteArray("<Equalizer>minimize\n"));

#include <QByteArray>
#include <QTemporaryFile>

class StdoutCapture
{
public:
    explicit StdoutCapture(int fd = 1);
    ~StdoutCapture();

    // Everything written since construction (flushes stdout first); capture goes on.
    QByteArray text();

private:
    QTemporaryFile file;
    int fd;
    int savedFd = -1;
};

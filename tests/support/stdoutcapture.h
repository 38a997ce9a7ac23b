#pragma once

// StdoutCapture: what the process writes to a descriptor (1, or 2 for standard error) while it
// lives, printf output of the code under test included. Nest no two captures of one descriptor.

#include <QByteArray>
#include <QTemporaryFile>

class StdoutCapture
{
public:
    explicit StdoutCapture(int fd = 1);
    ~StdoutCapture();

    // Everything written so far; capture goes on.
    QByteArray text();

private:
    QTemporaryFile file;
    int fd;
    int savedFd = -1;
};

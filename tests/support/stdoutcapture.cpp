#include "support/stdoutcapture.h"

#include <cstdio>
#include <unistd.h>

StdoutCapture::StdoutCapture(int fd)
    : fd(fd)
{
    file.open();
    fflush(stdout);
    fflush(stderr);
    savedFd = dup(fd);
    dup2(file.handle(), fd);
}

StdoutCapture::~StdoutCapture()
{
    fflush(stdout);
    fflush(stderr);
    dup2(savedFd, fd);
    close(savedFd);
}

QByteArray StdoutCapture::text()
{
    fflush(stdout);
    fflush(stderr);
    QFile reader(file.fileName());
    reader.open(QIODevice::ReadOnly);
    return reader.readAll();
}

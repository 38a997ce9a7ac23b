#include "support/stdoutcapture.h"

#include <cstdio>
#include <unistd.h>

StdoutCapture::StdoutCapture()
{
    file.open();
    fflush(stdout);
    savedFd = dup(STDOUT_FILENO);
    dup2(file.handle(), STDOUT_FILENO);
}

StdoutCapture::~StdoutCapture()
{
    fflush(stdout);
    dup2(savedFd, STDOUT_FILENO);
    close(savedFd);
}

QByteArray StdoutCapture::text()
{
    fflush(stdout);
    QFile reader(file.fileName());
    reader.open(QIODevice::ReadOnly);
    return reader.readAll();
}

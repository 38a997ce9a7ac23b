#include "support/controllerfixture.h"

#include "support/stdoutcapture.h"

#include <QFile>
#include <QMetaMethod>
#include <QMetaProperty>
#include <QSettings>
#include <QThread>

#include <utility>

namespace ControllerFixture {

EqualizerPaths paths(const QTemporaryDir &dir)
{
    EqualizerPaths paths;
    paths.settingsFile = dir.filePath(QStringLiteral("Equalizer.conf"));
    paths.settingsLock = paths.settingsFile + QStringLiteral(".lock");
    paths.keyDevice = dir.filePath(QStringLiteral("no-key-device"));
    return paths;
}

void waitForWorkers(Equalizer &equalizer)
{
    for (QThread *worker : equalizer.findChildren<QThread *>())
        worker->wait();
}

QByteArray output(const std::function<void()> &action, int fd)
{
    StdoutCapture capture(fd);
    action();
    return capture.text();
}

QStringList traceLines(const QByteArray &out)
{
    QStringList lines;
    for (const QByteArray &line : out.split('\n'))
        if (line.startsWith("<Equalizer>"))
            lines << QString::fromUtf8(line.mid(11));
    return lines;
}

QStringList traces(const std::function<void()> &action)
{
    return traceLines(output(action));
}

QString redirected(const QString &cmd)
{
    return cmd + QStringLiteral(" < /dev/null 2>&1");
}

QVariantHash recording(const QStringList &cmds)
{
    QVariantHash entry;
    for (const QString &cmd : cmds)
        entry.insert(cmd.left(cmd.lastIndexOf(QLatin1Char(' '))), cmd);
    return entry;
}

QVariantMap properties(const QObject &object)
{
    const QMetaObject *meta = object.metaObject();
    QVariantMap values;
    for (int i = QObject::staticMetaObject.propertyCount(); i < meta->propertyCount(); ++i)
        values.insert(QString::fromLatin1(meta->property(i).name()), meta->property(i).read(&object));
    return values;
}

// Each signal of the sender's class is connected to a method index past QObject's own; the call
// arrives in qt_metacall, as QSignalSpy receives its one signal.
SignalLog::SignalLog(QObject *sender)
    : sender(sender)
{
    const int first = QObject::staticMetaObject.methodCount();
    for (int i = first; i < sender->metaObject()->methodCount(); ++i)
        if (sender->metaObject()->method(i).methodType() == QMetaMethod::Signal)
            QMetaObject::connect(sender, i, this, first + i, Qt::DirectConnection);
}

QStringList SignalLog::take()
{
    return std::exchange(log, QStringList());
}

int SignalLog::qt_metacall(QMetaObject::Call call, int id, void **args)
{
    id = QObject::qt_metacall(call, id, args);
    if (id < 0 || call != QMetaObject::InvokeMetaMethod)
        return id;
    const QMetaMethod signal = sender->metaObject()->method(id);
    QStringList values;
    for (int i = 0; i < signal.parameterCount(); ++i)
        values << QVariant(signal.parameterType(i), args[i + 1]).toString();
    log << QString::fromLatin1(signal.name()) + QLatin1Char('(') + values.join(QStringLiteral(", ")) + QLatin1Char(')');
    return -1;
}

Controller::Controller(const QVariantMap &settings, bool start)
    : paths(ControllerFixture::paths(dir))
{
    if (!settings.isEmpty()) {
        QSettings file(paths.settingsFile, QSettings::NativeFormat);
        for (auto it = settings.cbegin(); it != settings.cend(); ++it)
            file.setValue(it.key(), it.value());
    }
    if (start)
        this->start();
}

Controller::~Controller() = default;

void Controller::writeFile(const QByteArray &content)
{
    QFile file(paths.settingsFile);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("cannot write %s", qPrintable(paths.settingsFile));
}

Equalizer &Controller::start()
{
    eq.reset();
    eq = std::make_unique<Equalizer>(nullptr, paths);
    waitForWorkers(*eq);
    return *eq;
}

QVariant Controller::stored(const QString &key) const
{
    return storedAll().value(key);
}

QVariantMap Controller::storedAll() const
{
    if (eq)
        eq->findChild<QSettings *>()->sync();
    const QSettings file(paths.settingsFile, QSettings::NativeFormat);
    QVariantMap all;
    for (const QString &key : file.allKeys())
        all.insert(key, file.value(key));
    return all;
}

} // namespace ControllerFixture

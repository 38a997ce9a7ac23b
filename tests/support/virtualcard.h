#pragma once

// VirtualCard: a fresh virtual DSP card in a temporary folder, for the life of the object. The real
// amixer (and so the code under test) talks to it as to the unit's card: ALSA_CONFIG_PATH and PATH
// (the card's logging "amixer", then ${EQ_BUILD_DIR}/bin with the tuning scripts) point at it for
// this process and its children until the destructor restores them. One card at a time.
//
// - commands(): every amixer run as the caller built the command line, arguments with a blank in
//   double quotes; the tuning scripts' own runs start "amixer -q sset ".
// - journal(): every write that reached the card, "Control Name=value" (switches 0/1). alsa-lib
//   skips a write of the value already held: amixer exits 0 and the journal shows nothing.
// - failWrites(): sset of these controls exits 1 ("Unable to find simple control"); reads work.
//   failReads(): these controls are missing, sget and sset exit 1. Both apply from the next run.
//   A missing control is the one error amixer reports for that control alone whatever words follow
//   the value; a refused write followed by " < /dev/null 2>&1" would exit 0.
// Control names, ranges and power-on values: tools/virtual-card/README.md.

#include <QString>
#include <QStringList>
#include <QTemporaryDir>

class VirtualCard
{
public:
    VirtualCard();
    ~VirtualCard();

    VirtualCard(const VirtualCard &) = delete;
    VirtualCard &operator=(const VirtualCard &) = delete;

    bool isValid() const { return valid; }
    QString errorString() const { return error; }
    QString dir() const { return tempDir.path(); }

    QStringList journal() const { return lines(QStringLiteral("journal")); }
    QStringList commands() const { return lines(QStringLiteral("commands")); }
    void clearLogs();

    // Each replaces its list; an empty list makes nothing fail.
    void failWrites(const QStringList &controls) { writeList(QStringLiteral("fail-writes"), controls); }
    void failReads(const QStringList &controls) { writeList(QStringLiteral("fail-reads"), controls); }

    // The raw value held now, -1 for a name the card does not have.
    int value(const QString &control) const;
    // Set-up only: not journaled, faults ignored. Outside the control's range the card takes its
    // state for damaged and resets itself.
    void setValue(const QString &control, int value);
    void setPowerOnState();

private:
    bool runEnvScript();
    QString path(const QString &name) const { return tempDir.path() + QLatin1Char('/') + name; }
    QStringList lines(const QString &name) const;
    void writeList(const QString &name, const QStringList &lines);

    QTemporaryDir tempDir;
    QString envScript;
    QString error;
    bool valid = false;
    QByteArray savedAlsaConfigPath;
    bool hadAlsaConfigPath = false;
    QByteArray savedPath;
};

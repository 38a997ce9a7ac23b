#pragma once

// VirtualCard: a fresh virtual DSP card in a temporary folder, for the life of the object. The real
// amixer (and so the code under test) talks to it as to the unit's sound card: the object sets
// ALSA_CONFIG_PATH and puts the card's logging "amixer" and ${EQ_BUILD_DIR}/bin (the tuning
// scripts) first on PATH, for this process and the children it starts; the destructor restores both.
// EQ_BUILD_DIR is set by CTest for every test. Make one card per test function (init()/cleanup()),
// and nest none.
//
//     VirtualCard card;
//     QVERIFY2(card.isValid(), qPrintable(card.errorString()));
//     card.failWrites({"User PEQ Band3 Gain"});
//     QVERIFY(!equalizer.changeGain(3, 4));
//     QCOMPARE(card.commands(), QStringList{"amixer sset \"User PEQ Band3 Gain\" 64 < /dev/null 2>&1"});
//     QCOMPARE(card.journal(), QStringList{});
//     QCOMPARE(card.value("User PEQ Band3 Gain"), 60);
//
// What the two logs hold:
// - commands(): every amixer run, one line each, as the caller built the command line ("amixer",
//   then each argument after one blank, an argument with a blank in double quotes). The tuning
//   scripts' own runs are among them; theirs alone start "amixer -q sset ".
// - journal(): every write that reached the card, "Control Name=value" (switches 0/1), in order.
//   alsa-lib's simple mixer skips a write of the value a control already holds: amixer then exits 0
//   and the journal shows nothing.
//
// Faults (read by every amixer run when it opens the card, so they apply from the next run on):
// - failWrites(): "amixer [options] sset NAME ..." of one of these exits 1 ("Unable to find simple
//   control"), whatever the value and the arguments behind it; reads of them work.
// - failReads(): these controls are missing from the card: amixer sget AND sset of them exit 1.
// Why a fault looks like a missing control: real amixer exits 0 after a write the driver refused as
// soon as any word follows the value (the controller's " < /dev/null 2>&1" does), and one failed read
// fails every amixer run (alsa-lib reads all controls at start). A missing control is the one error
// amixer reports for that control alone, whatever follows.
// A card whose folder cannot keep a write (state or lock path unusable) refuses every sset the same
// way, with a line on stderr; reads still answer.
//
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

    bool isValid() const;
    QString errorString() const;
    QString dir() const;

    QStringList journal() const;
    QStringList commands() const;
    void clearLogs();

    // Each replaces its list; an empty list makes nothing fail.
    void failWrites(const QStringList &controls);
    void failReads(const QStringList &controls);

    // The raw value the card holds now, -1 for a name the card does not have.
    int value(const QString &control) const;
    // Test setup: changes the held value directly, not journaled, faults ignored. The value must lie
    // in the control's range: the card treats anything else as a damaged state and resets itself.
    void setValue(const QString &control, int value);
    // Every control back to its power-on value.
    void setPowerOnState();

private:
    bool runEnvScript();
    QString path(const QString &name) const;
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

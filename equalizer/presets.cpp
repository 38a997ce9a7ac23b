#include "equalizer/equalizer.h"

#include "log/trace.h"

#include <QSettings>

void Equalizer::saveToPresets(int id)
{
    if (logD)
        Trace::line("saveToPresets(id=%d)", id);

    QVariantHash gains;
    for (int i = 0; i < 10; ++i) {
        const EqItem band = m_freqList.at(i);
        if (logD)
            Trace::line("insert gain: %s, %d", band.name.toUtf8().constData(), band.gain);
        gains.insert(band.name, band.gain);
    }
    // An id outside the list names the empty key, which the store refuses (noisily); skip it.
    const QString key = m_presetList.at(id).name;
    if (!key.isEmpty())
        store(key, gains);
    updatePresetedId(id);
}

// Applies through changeGain, which in turn clears the preset id: the one circle between areas.
void Equalizer::setToPreset(int id)
{
    if (logD)
        Trace::line("setToPresets(id=%d)", id);

    // An id outside the list (-1 at every cold start) names the empty key: no stored gains.
    const QString key = m_presetList.at(id).name;
    const QVariantHash gains = key.isEmpty() ? QVariantHash() : settings->value(key, QVariant()).toHash();
    const int bands = m_freqList.rowCount();
    // A preset never saved counts as applied without touching the card.
    if (!gains.isEmpty() && bands >= 1) {
        bool ok = true;
        // Every band is attempted even after a failure; what was written stays written.
        for (int i = 0; i < bands; ++i) {
            const int gain = gains.value(m_freqList.at(i).name).toInt();
            if (!changeGain(i + 1, gain))
                ok = false;
        }
        if (!ok)
            return;
    }
    updatePresetedId(id);
}

void Equalizer::updatePresetedId(int id)
{
    if (logF)
        Trace::line("updatePresetedId(%d)", id);
    activatedPresetId = id;
    store(QStringLiteral("PresetedId"), id);
    emit activatedPresetIdChanged();
}

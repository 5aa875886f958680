#pragma once

#include <QProgressBar>
#include <QPushButton>
#include <QSlider>
#include <QSpinBox>
#include <QWidget>

class QLabel;

namespace nimbara {

/// "Audio": gain, mute, meters, the offset between sound and picture and the levels of the program
/// mix.
class AudioTab : public QWidget {
    Q_OBJECT
public:
    explicit AudioTab(QWidget *parent = nullptr);

    /// Meter positions before and after gain.
    void showLevels(int before, int after);
    /// Whether the sound before and after gain is too loud.
    void showClip(bool before, bool after);
    void showMuted(bool muted);
    [[nodiscard]] int gain() const { return m_gain->value(); }
    void setGain(int percent) { m_gain->setValue(percent); }
    /// ms; without its signal.
    void showOffset(int ms);
    /// Whether claps are being measured.
    void showMeasuring(bool underWay);
    /// Offers what was measured, in ms; brought into the range.
    void propose(int ms);

Q_SIGNALS:
    void gainChanged(int percent);
    void mutePressed();
    /// ms.
    void offsetChosen(int ms);
    /// Begin, or call off, the measuring of claps.
    void measurePressed();
    void sourceLevelChanged(int percent);
    void voiceLevelChanged(int percent);

private:
    void layOut();
    [[nodiscard]] QWidget *makeOffsetRow();

    QSlider *m_gain;
    QPushButton *m_mute;
    QProgressBar *m_before;
    QProgressBar *m_after;
    QLabel *m_beforeClip;
    QLabel *m_afterClip;
    QSpinBox *m_offset;
    QPushButton *m_measure;
    QPushButton *m_useProposal;
    int m_proposal = 0; ///< ms
    QSlider *m_sourceLevel;
    QSlider *m_voiceLevel;
};

/// Sets a level bar, 0..100, and its colour: green, amber above 69, red above 89. The bar is
/// restyled only when its colour changes.
void meter(QProgressBar *bar, int value);

} // namespace nimbara

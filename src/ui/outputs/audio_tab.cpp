#include "ui/outputs/audio_tab.h"

#include "base/i18n.h"
#include "base/message.h"
#include "studio/sources/sound_offset.h"
#include "ui/kit/controls.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QSignalBlocker>
#include <QVariant>

#include <algorithm>
#include <array>

namespace nimbara {

namespace {

QSlider *makeSlider(int maximum, const char *name, const char *spanish)
{
    auto *slider = named(new QSlider(Qt::Horizontal), name, nimbara_i18n::tr(spanish));
    slider->setRange(0, maximum);
    slider->setValue(100);
    slider->setPageStep(10);
    slider->setMinimumHeight(22);
    return slider;
}

QProgressBar *makeMeter(const char *name, const char *spanish)
{
    auto *bar = named(new QProgressBar, name, nimbara_i18n::tr(spanish));
    bar->setRange(0, 100);
    bar->setValue(0);
    return bar;
}

QLabel *makeClipLight(const char *name)
{
    auto *light = named(new QLabel, name);
    light->setMinimumWidth(light->fontMetrics().horizontalAdvance(nimbara_i18n::tr("SATURA")) * 2);
    light->setStyleSheet(QStringLiteral("color: #ff8a80; font-weight: 800;"));
    return light;
}

} // namespace

AudioTab::AudioTab(QWidget *parent)
    : QWidget(parent)
    , m_gain(makeSlider(200, "gain", "Ganancia de entrada"))
    , m_mute(makeButton("Silenciar", "mute"))
    , m_before(makeMeter("inputMeter", "Entrada"))
    , m_after(makeMeter("processedMeter", "Procesado"))
    , m_beforeClip(makeClipLight("inputClip"))
    , m_afterClip(makeClipLight("processedClip"))
    , m_offset(named(new QSpinBox, "soundOffset", nimbara_i18n::tr("Desfase del sonido")))
    , m_measure(makeButton("Medir con palmadas", "measureOffset"))
    , m_useProposal(makeButton("Usar lo medido", "useOffset"))
    , m_sourceLevel(makeSlider(100, "sourceLevel", "Original en salidas"))
    , m_voiceLevel(makeSlider(100, "voiceLevel", "Voz traducida en salidas"))
{
    layOut();
    connect(m_gain, &QSlider::valueChanged, this, &AudioTab::gainChanged);
    connect(m_mute, &QPushButton::clicked, this, &AudioTab::mutePressed);
    connect(m_offset, &QSpinBox::valueChanged, this, &AudioTab::offsetChosen);
    connect(m_measure, &QPushButton::clicked, this, &AudioTab::measurePressed);
    connect(m_useProposal, &QPushButton::clicked, this, [this] {
        m_offset->setValue(m_proposal);
        m_useProposal->hide();
    });
    connect(m_sourceLevel, &QSlider::valueChanged, this, &AudioTab::sourceLevelChanged);
    connect(m_voiceLevel, &QSlider::valueChanged, this, &AudioTab::voiceLevelChanged);
}

void AudioTab::layOut()
{
    auto *grid = new QGridLayout(this);
    const auto addRow = [grid](int row, const char *spanish, QWidget *widget) {
        grid->addWidget(new QLabel(nimbara_i18n::tr(spanish)), row, 0);
        grid->addWidget(widget, row, 1);
    };
    addRow(0, "Ganancia de entrada", m_gain);
    grid->addWidget(m_mute, 0, 2);
    addRow(1, "Entrada", m_before);
    addRow(2, "Procesado", m_after);
    grid->addWidget(m_beforeClip, 1, 2);
    grid->addWidget(m_afterClip, 2, 2);
    addRow(3, "Desfase del sonido", makeOffsetRow());
    addRow(4, "Original en salidas", m_sourceLevel);
    addRow(5, "Voz traducida en salidas", m_voiceLevel);
    grid->setColumnStretch(1, 1);
    grid->setRowStretch(6, 1);
}

QWidget *AudioTab::makeOffsetRow()
{
    m_offset->setRange(SoundOffset::least, SoundOffset::most);
    m_offset->setSingleStep(10);
    m_offset->setKeyboardTracking(false); // a number that is half typed is none
    m_offset->setSuffix(QStringLiteral(" ms"));
    m_offset->setToolTip(nimbara_i18n::tr(
        "Por encima de 0 el sonido se oye después; por debajo, la imagen de las cámaras espera."));
    m_useProposal->hide();
    auto *row = new QWidget;
    auto *line = new QHBoxLayout(row);
    line->setContentsMargins(0, 0, 0, 0);
    line->addWidget(m_offset);
    line->addWidget(m_measure);
    line->addWidget(m_useProposal);
    line->addStretch(1);
    return row;
}

void AudioTab::showOffset(int ms)
{
    const QSignalBlocker blocker(m_offset);
    m_offset->setValue(ms);
}

void AudioTab::showMeasuring(bool underWay)
{
    m_measure->setText(nimbara_i18n::tr(underWay ? "Dejar de medir" : "Medir con palmadas"));
    m_useProposal->hide();
}

void AudioTab::propose(int ms)
{
    m_proposal = std::clamp(ms, m_offset->minimum(), m_offset->maximum());
    m_useProposal->setText(nimbara_i18n::tr(
        Message("Usar %1 ms", { Message::verbatim(QString::number(m_proposal)) })));
    m_useProposal->show();
}

void AudioTab::showLevels(int before, int after)
{
    meter(m_before, before);
    meter(m_after, after);
}

void AudioTab::showClip(bool before, bool after)
{
    const QString text = nimbara_i18n::tr("SATURA");
    m_beforeClip->setText(before ? text : QString());
    m_afterClip->setText(after ? text : QString());
}

void AudioTab::showMuted(bool muted)
{
    m_mute->setText(nimbara_i18n::tr(muted ? "Quitar silencio" : "Silenciar"));
}

void meter(QProgressBar *bar, int value)
{
    static constexpr std::array colors { "#29a782", "#e3b23c", "#d6453d" };
    bar->setValue(std::clamp(value, 0, 100));
    const int band = value > 89 ? 2 : value > 69 ? 1 : 0;
    const QVariant shown = bar->property("band");
    if (shown.isValid() && shown.toInt() == band) {
        return;
    }
    bar->setProperty("band", band);
    bar->setStyleSheet(QStringLiteral("QProgressBar::chunk{background:%1;border-radius:4px;}")
                           .arg(QLatin1String(colors.at(static_cast<std::size_t>(band)))));
}

} // namespace nimbara

#include "ui/outputs/outputs_tab.h"

#include "base/i18n.h"
#include "ui/kit/controls.h"

#include <QComboBox>
#include <QEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QVBoxLayout>

#include <cmath>
#include <initializer_list>

namespace nimbara {

OutputsTab::OutputsTab(std::span<const QString, slots> names, QWidget *parent)
    : QWidget(parent)
    , m_startSelected(makeButton("Iniciar destinos seleccionados", "startSelected"))
    , m_stopStreams(makeButton("Detener transmisiones", "stopStreams"))
    , m_saveKeys(makeButton("Guardar claves en este equipo", "saveKeys"))
    , m_testLine(makeButton("Probar la conexión", "testLine"))
    , m_lineText(named(makeNote(QString()), "lineText"))
    , m_encoder(makeList({ "Automático", "Solo el programa" }, "encoder", "Codificador"))
    , m_encoderText(named(makeNote(QString()), "encoderText"))
    , m_record(makeButton("● Grabar", "record"))
    , m_pause(makeButton("Pausar", "pauseRecording"))
    , m_partMinutes(named(new QSpinBox, "partMinutes", nimbara_i18n::tr("Partes de la grabación")))
    , m_videoRate(named(new QDoubleSpinBox, "videoRate", nimbara_i18n::tr("Calidad de video")))
    , m_reconnects(new QCheckBox(nimbara_i18n::tr("Volver a conectar solo")))
{
    auto *grid = new QGridLayout(this);
    for (std::size_t slot = 0; slot < slots; ++slot) {
        m_rows.at(slot) = makeRow(nimbara_i18n::tr(names[slot]), slot);
        addRow(grid, slot);
    }
    addButtons(grid);
    addRecordingRow(grid);
    // Below all that is pressed: it may be out of sight on a low screen.
    grid->addWidget(m_lineText, static_cast<int>(slots) + 2, 0, 1, grid->columnCount());
    grid->setColumnStretch(1, 3);
    grid->setColumnStretch(2, 2);
    grid->setColumnStretch(5, 3);
    grid->setRowStretch(static_cast<int>(slots) + 3, 1);
}

void OutputsTab::addRow(QGridLayout *grid, std::size_t slot)
{
    const Row &row = m_rows.at(slot);
    int column = 0;
    for (QWidget *widget : std::initializer_list<QWidget *> { row.enabled,
             row.server,
             row.key,
             row.toggle,
             row.now }) {
        grid->addWidget(widget, static_cast<int>(slot), column++);
    }
    auto *state = new QVBoxLayout;
    state->setSpacing(0);
    state->addWidget(row.state);
    state->addWidget(row.figures);
    grid->addLayout(state, static_cast<int>(slot), column);
    row.figures->installEventFilter(this);
    connect(row.toggle, &QPushButton::clicked, this, [this, slot] { Q_EMIT togglePressed(slot); });
    connect(row.now, &QPushButton::clicked, this, [this, slot] { Q_EMIT retryNowPressed(slot); });
    connect(row.server, &QLineEdit::textChanged, this, [this, slot](const QString &text) {
        Q_EMIT serverEdited(slot, text);
    });
    connect(row.key, &QLineEdit::textChanged, this, [this, slot](const QString &text) {
        Q_EMIT keyEdited(slot, text);
    });
    connect(row.enabled, &QCheckBox::toggled, this, [this, slot](bool on) {
        Q_EMIT selectionChanged(slot, on);
    });
}

void OutputsTab::addButtons(QGridLayout *grid)
{
    auto *buttons = new QHBoxLayout;
    for (QPushButton *button : { m_startSelected, m_stopStreams, m_saveKeys, m_testLine }) {
        buttons->addWidget(button);
    }
    buttons->addWidget(m_reconnects);
    buttons->addStretch();
    grid->addLayout(buttons, static_cast<int>(slots), 0, 1, grid->columnCount());
    connect(m_startSelected, &QPushButton::clicked, this, &OutputsTab::startSelectedPressed);
    connect(m_stopStreams, &QPushButton::clicked, this, &OutputsTab::stopStreamsPressed);
    connect(m_saveKeys, &QPushButton::clicked, this, &OutputsTab::saveKeysPressed);
    connect(m_testLine, &QPushButton::clicked, this, &OutputsTab::lineTestPressed);
    m_reconnects->setObjectName(QStringLiteral("reconnects"));
    connect(m_reconnects, &QCheckBox::toggled, this, &OutputsTab::reconnectsChanged);
}

void OutputsTab::addRecordingRow(QGridLayout *grid)
{
    m_partMinutes->setRange(0, 240);
    m_partMinutes->setKeyboardTracking(false); // a number that is half typed means nothing yet
    m_videoRate->setKeyboardTracking(false);
    m_partMinutes->setSpecialValueText(nimbara_i18n::tr("Un solo archivo"));
    m_partMinutes->setPrefix(nimbara_i18n::tr("Partes de") + QLatin1Char(' '));
    m_partMinutes->setSuffix(QStringLiteral(" min"));
    m_videoRate->setRange(0.5, 20);
    m_videoRate->setSingleStep(0.5);
    m_videoRate->setDecimals(1);
    m_videoRate->setPrefix(nimbara_i18n::tr("Calidad de video") + QLatin1Char(' '));
    m_videoRate->setSuffix(QStringLiteral(" Mbit/s"));
    m_videoRate->setToolTip(nimbara_i18n::tr(
        "Vale desde el próximo inicio. A 1080p y 30 imágenes: YouTube hasta 10, Facebook hasta 6, "
        "Twitch hasta 6 Mbit/s."));
    m_pause->hide();
    auto *row = new QHBoxLayout;
    row->addWidget(m_record);
    row->addWidget(m_pause);
    row->addWidget(m_partMinutes);
    row->addWidget(m_videoRate);
    row->addWidget(new QLabel(nimbara_i18n::tr("Codificador")));
    row->addWidget(m_encoder);
    row->addWidget(m_encoderText, 1);
    grid->addLayout(row, static_cast<int>(slots) + 1, 0, 1, grid->columnCount());
    connect(m_encoder, &QComboBox::activated, this, [this](int entry) {
        Q_EMIT hardwareEncodingChanged(entry == 0);
    });
    connect(m_record, &QPushButton::clicked, this, &OutputsTab::recordPressed);
    connect(m_pause, &QPushButton::clicked, this, &OutputsTab::pausePressed);
    connect(m_partMinutes, &QSpinBox::valueChanged, this, &OutputsTab::partMinutesChanged);
    connect(m_videoRate, &QDoubleSpinBox::valueChanged, this, [this](double megabits) {
        Q_EMIT videoKbitsChanged(static_cast<int>(std::lround(megabits * 1000)));
    });
}

OutputsTab::Row OutputsTab::makeRow(const QString &title, std::size_t slot)
{
    const auto name = [slot](const char *part) {
        return QStringLiteral("%1%2").arg(QLatin1String(part)).arg(slot + 1);
    };
    Row row { new QCheckBox(title),
        new QLineEdit,
        new QLineEdit,
        makeButton("Iniciar", ""),
        makeButton("Ahora", ""),
        new QLabel(nimbara_i18n::tr("Detenido")),
        new QLabel };
    row.enabled->setObjectName(name("destination"));
    row.server->setObjectName(name("server"));
    row.server->setAccessibleName(QStringLiteral("RTMP ") + title);
    row.key->setObjectName(name("key"));
    row.key->setEchoMode(QLineEdit::Password);
    row.key->setPlaceholderText(nimbara_i18n::tr("Clave de transmisión"));
    row.key->setAccessibleName(nimbara_i18n::tr("Clave de transmisión") + QLatin1Char(' ') + title);
    row.toggle->setObjectName(name("toggle"));
    row.now->setObjectName(name("retryNow"));
    row.now->setAccessibleName(nimbara_i18n::tr("Ahora") + QLatin1Char(' ') + title);
    row.now->hide();
    row.state->setObjectName(name("state"));
    row.state->setWordWrap(true);
    row.figures->setObjectName(name("figures"));
    row.figures->setTextFormat(Qt::PlainText);
    row.figures->hide();
    return row;
}

void OutputsTab::showWanted(std::size_t slot,
    const QString &server,
    const QString &key,
    bool selected)
{
    const Row &row = m_rows.at(slot);
    showText(row.server, server);
    showText(row.key, key);
    row.enabled->setChecked(selected);
}

void OutputsTab::showDestination(std::size_t slot,
    const Message &buttonText,
    const Message &stateText,
    bool waiting,
    bool reconnecting)
{
    const Row &row = m_rows.at(slot);
    const QString text = nimbara_i18n::tr(buttonText);
    // On every frame: a screen reader is told of changes alone.
    if (row.toggle->text() != text || row.toggle->accessibleName().isEmpty()) {
        row.toggle->setText(text);
        row.toggle->setAccessibleName(text + QLatin1Char(' ') + row.enabled->text());
    }
    row.toggle->setEnabled(!waiting);
    row.now->setVisible(reconnecting);
    row.state->setText(nimbara_i18n::tr(stateText));
}

bool OutputsTab::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::ToolTip) {
        for (std::size_t slot = 0; slot < slots; ++slot) {
            if (watched == m_rows.at(slot).figures) {
                Q_EMIT figuresHovered(slot);
            }
        }
    }
    return QWidget::eventFilter(watched, event);
}

void OutputsTab::setFiguresToolTip(std::size_t slot, const QString &toolTip)
{
    m_rows.at(slot).figures->setToolTip(toolTip);
}

void OutputsTab::showFigures(std::size_t slot, const QString &text)
{
    const Row &row = m_rows.at(slot);
    row.figures->setText(text);
    row.figures->setVisible(!text.isEmpty());
}

void OutputsTab::showReconnects(bool on)
{
    m_reconnects->setChecked(on);
}

void OutputsTab::showEncoder(bool automatic, const Message &text)
{
    m_encoder->setCurrentIndex(automatic ? 0 : 1);
    m_encoderText->setText(nimbara_i18n::tr(text));
}

void OutputsTab::showLineTest(bool running, const Message &text)
{
    m_testLine->setText(nimbara_i18n::tr(running ? "Cancelar la prueba" : "Probar la conexión"));
    m_lineText->setText(nimbara_i18n::tr(text));
}

void OutputsTab::showSaving(bool saving)
{
    m_saveKeys->setEnabled(!saving);
}

void OutputsTab::showVideoKbits(int kbits)
{
    const QSignalBlocker blocker(m_videoRate); // it may be shown rounded
    m_videoRate->setValue(kbits / 1000.0);
}

void OutputsTab::showRecording(const Message &buttonText, bool pausable, bool paused)
{
    m_record->setText(nimbara_i18n::tr(buttonText));
    m_pause->setText(nimbara_i18n::tr(paused ? "Reanudar" : "Pausar"));
    m_pause->setVisible(pausable);
}

} // namespace nimbara

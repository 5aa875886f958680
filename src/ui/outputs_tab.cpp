#include "ui/outputs_tab.h"

#include "app/i18n.h"
#include "ui/controls.h"

#include <QGridLayout>
#include <QHBoxLayout>

namespace nimbara {

OutputsTab::OutputsTab(std::span<const Preset, slots> presets, QWidget *parent)
    : QWidget(parent)
    , m_startSelected(makeButton("Iniciar destinos seleccionados", "startSelected"))
    , m_stopStreams(makeButton("Detener transmisiones", "stopStreams"))
    , m_saveKeys(makeButton("Guardar claves en este equipo", "saveKeys"))
    , m_record(makeButton("● Grabar", "record"))
{
    auto *grid = new QGridLayout(this);
    for (std::size_t slot = 0; slot < slots; ++slot) {
        const Row row = makeRow(presets[slot], slot);
        const int line = static_cast<int>(slot);
        grid->addWidget(row.enabled, line, 0);
        grid->addWidget(row.server, line, 1);
        grid->addWidget(row.key, line, 2);
        grid->addWidget(row.toggle, line, 3);
        grid->addWidget(row.state, line, 4);
        m_rows.at(slot) = row;
    }
    auto *buttons = new QHBoxLayout;
    for (QPushButton *button : { m_startSelected, m_stopStreams, m_saveKeys, m_record }) {
        buttons->addWidget(button);
    }
    buttons->addStretch();
    grid->addLayout(buttons, static_cast<int>(slots), 0, 1, 5);
    grid->setColumnStretch(1, 3);
    grid->setColumnStretch(2, 2);
    grid->setColumnStretch(4, 2);
    grid->setRowStretch(static_cast<int>(slots) + 1, 1);
    for (QPushButton *button : { m_startSelected, m_stopStreams, m_saveKeys }) {
        button->setEnabled(false);
    }
    connect(m_record, &QPushButton::clicked, this, &OutputsTab::recordPressed);
}

OutputsTab::Row OutputsTab::makeRow(const Preset &preset, std::size_t slot)
{
    const auto name = [slot](const char *part) {
        return QStringLiteral("%1%2").arg(QLatin1String(part)).arg(slot + 1);
    };
    Row row { new QCheckBox(nimbara_i18n::tr(preset.name)),
        new QLineEdit(preset.server),
        new QLineEdit,
        makeButton("Iniciar", ""),
        new QLabel(nimbara_i18n::tr("Detenido")) };
    row.enabled->setObjectName(name("destination"));
    row.server->setObjectName(name("server"));
    row.server->setAccessibleName(QStringLiteral("RTMP ") + preset.name);
    row.key->setObjectName(name("key"));
    row.key->setEchoMode(QLineEdit::Password);
    row.key->setPlaceholderText(nimbara_i18n::tr("Clave de transmisión"));
    row.key->setAccessibleName(
        nimbara_i18n::tr("Clave de transmisión") + QLatin1Char(' ') + preset.name);
    row.toggle->setObjectName(name("toggle"));
    row.state->setObjectName(name("state"));
    row.state->setWordWrap(true);
    for (QWidget *widget : { static_cast<QWidget *>(row.enabled),
             static_cast<QWidget *>(row.server),
             static_cast<QWidget *>(row.key),
             static_cast<QWidget *>(row.toggle) }) {
        widget->setEnabled(false);
    }
    return row;
}

void OutputsTab::showRecording(const QString &buttonText)
{
    m_record->setText(nimbara_i18n::tr(buttonText));
}

} // namespace nimbara

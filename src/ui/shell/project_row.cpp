#include "ui/shell/project_row.h"

#include "base/i18n.h"
#include "ui/kit/controls.h"

#include <QHBoxLayout>
#include <QSignalBlocker>

namespace nimbara {

ProjectRow::ProjectRow(QWidget *parent)
    : QWidget(parent)
    , m_format(named(new QComboBox, "format", nimbara_i18n::tr("Horizontal o vertical")))
    , m_open(makeButton("Abrir proyecto", "openProject"))
    , m_versions(makeButton("▾", "versions"))
    , m_save(makeButton("Guardar proyecto", "saveProject"))
    , m_undo(makeButton("↶", "undo"))
    , m_redo(makeButton("↷", "redo"))
    , m_credits(makeButton("Créditos", "credits"))
    , m_keys(makeButton("⌨", "keys"))
    , m_fold(makeButton("▴", "foldHeader"))
    , m_time(named(new QLabel, "serviceTime", nimbara_i18n::tr("Hora y duración del servicio")))
{
    m_format->addItems({ nimbara_i18n::tr("Horizontal · 1920 × 1080"),
        nimbara_i18n::tr("Vertical · 1080 × 1920") });
    m_versions->setToolTip(nimbara_i18n::tr("Versiones anteriores"));
    m_versions->setAccessibleName(m_versions->toolTip());
    m_keys->setAccessibleName(nimbara_i18n::tr("Teclas"));
    setFormatEnabled(true);
    showSteps({}, {});
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(m_format);
    row->addWidget(m_open);
    row->addWidget(m_versions);
    row->addWidget(m_save);
    row->addWidget(m_undo);
    row->addWidget(m_redo);
    row->addWidget(m_credits);
    row->addWidget(m_keys);
    row->addStretch();
    row->addWidget(m_time);
    row->addWidget(m_fold);
    showHeaderFolded(false);
    connect(m_fold, &QPushButton::clicked, this, [this] { Q_EMIT headerFolded(!m_isFolded); });
    connect(m_format, &QComboBox::currentIndexChanged, this, &ProjectRow::formatChosen);
}

void ProjectRow::showFormat(int entry)
{
    const QSignalBlocker blocker(m_format);
    m_format->setCurrentIndex(entry);
}

void ProjectRow::showTime(const QString &now, const QString &service)
{
    m_time->setText(service.isEmpty()
            ? now
            : now + QStringLiteral("  ·  ") + nimbara_i18n::tr("Servicio %1").arg(service));
}

void ProjectRow::showHeaderFolded(bool folded)
{
    m_isFolded = folded;
    const QString name = nimbara_i18n::tr(folded ? "Mostrar la cabecera" : "Plegar la cabecera");
    m_fold->setText(folded ? QStringLiteral("▾") : QStringLiteral("▴"));
    m_fold->setToolTip(name);
    m_fold->setAccessibleName(name);
}

void ProjectRow::showOpening(bool opening)
{
    m_open->setText(nimbara_i18n::tr(opening ? "Cancelar apertura" : "Abrir proyecto"));
    m_open->setMinimumWidth(m_open->sizeHint().width());
}

void ProjectRow::showSteps(const QString &undo, const QString &redo)
{
    const auto show = [](QPushButton *button, const char *verb, const QString &step) {
        const QString name = nimbara_i18n::tr(verb);
        const QString text = step.isEmpty() ? name : name + QStringLiteral(": ") + step;
        button->setEnabled(!step.isEmpty());
        button->setToolTip(text);
        button->setAccessibleName(text);
    };
    show(m_undo, "Deshacer", undo);
    show(m_redo, "Rehacer", redo);
}

void ProjectRow::setFormatEnabled(bool enabled)
{
    if (enabled == m_format->isEnabled() && !m_format->toolTip().isEmpty()) {
        return; // on every frame: a screen reader is told of changes alone
    }
    m_format->setEnabled(enabled);
    m_format->setToolTip(
        nimbara_i18n::tr(enabled ? "Horizontal o vertical"
                                 : "Detén transmisiones y grabación para cambiar el formato"));
}

} // namespace nimbara

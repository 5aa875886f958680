#include "ui/editor/control_row.h"

#include "base/i18n.h"
#include "ui/kit/controls.h"
#include "ui/kit/marks.h"

#include <QHBoxLayout>
#include <QSignalBlocker>

#include <algorithm>

namespace nimbara {

ControlRow::ControlRow(QWidget *parent)
    : QWidget(parent)
    , m_scenes(named(new QComboBox, "scenes", nimbara_i18n::tr("Escena en Preparación")))
    , m_title(
          named(new QLineEdit, "title", nimbara_i18n::tr("Título, versículo o cinta inferior...")))
    , m_band(named(new QCheckBox(nimbara_i18n::tr("Banda")), "band"))
    , m_fade(named(new QCheckBox(nimbara_i18n::tr("Fundido 0.4 s")), "fade"))
    , m_transition(makeButton("▾", "transition"))
    , m_take(makeButton("AL AIRE  →", "take"))
    , m_offAir(makeButton("Fuera del aire", "offair"))
{
    m_scenes->setMinimumWidth(150);
    m_scenes->setToolTip(nimbara_i18n::tr("Escena en Preparación"));
    m_title->setPlaceholderText(nimbara_i18n::tr("Título, versículo o cinta inferior..."));
    m_fade->setChecked(true);
    m_fade->setToolTip(nimbara_i18n::tr(
        "Cómo pasa el programa de una escena a otra. Sin marcar, todo cambia de golpe."));
    m_transition->setAccessibleName(nimbara_i18n::tr("Transiciones"));
    m_transition->setToolTip(nimbara_i18n::tr("Transiciones"));
    m_take->setMinimumWidth(std::max(m_take->minimumWidth(), 150));
    m_offAir->setToolTip(nimbara_i18n::tr("Manda pantalla negra al Programa"));

    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(m_scenes);
    row->addWidget(m_title, 1);
    row->addWidget(m_band);
    row->addWidget(m_fade);
    row->addWidget(m_transition);
    row->addWidget(m_take);
    row->addWidget(m_offAir);

    connect(m_scenes, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (index >= 0) {
            Q_EMIT sceneChosen(index);
        }
    });
    connect(m_title, &QLineEdit::textChanged, this, &ControlRow::titleChanged);
    connect(m_band, &QCheckBox::toggled, this, &ControlRow::bandChanged);
    connect(m_fade, &QCheckBox::toggled, this, &ControlRow::fadeChanged);
    connect(m_take, &QPushButton::clicked, this, &ControlRow::takePressed);
    connect(m_offAir, &QPushButton::clicked, this, &ControlRow::offAirPressed);
}

void ControlRow::showScenes(const QStringList &names, int current)
{
    refill(m_scenes, names, current);
}

void ControlRow::showOnAir(int scene)
{
    const QSignalBlocker blocker(m_scenes);
    for (int row = 0; row < m_scenes->count(); ++row) {
        const QString name = m_scenes->itemText(row);
        const QString told
            = row == scene ? name + QStringLiteral(" · ") + nimbara_i18n::tr("AL AIRE") : name;
        m_scenes->setItemIcon(row, row == scene ? onAirMark() : QIcon());
        m_scenes->setItemData(row, told, Qt::AccessibleTextRole);
        m_scenes->setItemData(row, told, Qt::ToolTipRole);
    }
}

void ControlRow::showEditSet(bool hall)
{
    m_take->setText(nimbara_i18n::tr(hall ? "A PANTALLAS  →" : "AL AIRE  →"));
}

void ControlRow::showTitle(const QString &title, bool band)
{
    m_title->setText(title);
    m_band->setChecked(band);
}

} // namespace nimbara

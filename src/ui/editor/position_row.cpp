#include "ui/editor/position_row.h"

#include "base/i18n.h"

#include <QHBoxLayout>
#include <QSignalBlocker>

namespace nimbara {

namespace {

QDoubleSpinBox *makeField(const QString &letter, PercentRange range)
{
    auto *field = new QDoubleSpinBox;
    field->setObjectName(QStringLiteral("position") + letter);
    field->setAccessibleName(nimbara_i18n::tr("Posición") + QLatin1Char(' ') + letter);
    field->setPrefix(letter + QLatin1Char(' '));
    field->setSuffix(QStringLiteral("%"));
    field->setDecimals(1);
    field->setRange(range.lowest, range.highest);
    field->setMinimumWidth(78);
    field->setKeyboardTracking(false);
    return field;
}

} // namespace

PositionRow::PositionRow(QWidget *parent)
    : QWidget(parent)
    , m_fields { makeField(QStringLiteral("X"), placePercent),
        makeField(QStringLiteral("Y"), placePercent),
        makeField(QStringLiteral("W"), sizePercent),
        makeField(QStringLiteral("H"), sizePercent) }
{
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(4);
    for (QDoubleSpinBox *field : m_fields) {
        row->addWidget(field);
        connect(field, &QDoubleSpinBox::valueChanged, this, &PositionRow::edited);
    }
}

void PositionRow::showBox(const Box &box)
{
    const std::array<double, 4> shown { shownPercent(box.x, placePercent),
        shownPercent(box.y, placePercent),
        shownPercent(box.w, sizePercent),
        shownPercent(box.h, sizePercent) };
    for (std::size_t i = 0; i < m_fields.size(); ++i) {
        if (m_fields.at(i)->value() == shown.at(i)) {
            continue; // a number that is being typed stays
        }
        const QSignalBlocker blocker(m_fields.at(i));
        m_fields.at(i)->setValue(shown.at(i));
    }
}

Box PositionRow::percent() const
{
    return { m_fields[0]->value(),
        m_fields[1]->value(),
        m_fields[2]->value(),
        m_fields[3]->value() };
}

} // namespace nimbara

#include "ui/editor/position_row.h"

#include "base/i18n.h"
#include "ui/kit/style.h"

#include <QGridLayout>
#include <QSignalBlocker>

namespace nimbara {

namespace {

constexpr int gap = 4; ///< pixels
constexpr int fieldWidth = 78; ///< pixels, with texts of the usual height

QDoubleSpinBox *makeField(const QString &letter, PercentRange range)
{
    auto *field = new QDoubleSpinBox;
    field->setObjectName(QStringLiteral("position") + letter);
    field->setAccessibleName(nimbara_i18n::tr("Posición") + QLatin1Char(' ') + letter);
    field->setPrefix(letter + QLatin1Char(' '));
    field->setSuffix(QStringLiteral("%"));
    field->setDecimals(1);
    field->setRange(range.lowest, range.highest);
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
    , m_grid(new QGridLayout(this))
{
    m_grid->setContentsMargins(0, 0, 0, 0);
    m_grid->setSpacing(gap);
    for (QDoubleSpinBox *field : m_fields) {
        connect(field, &QDoubleSpinBox::valueChanged, this, &PositionRow::edited);
    }
    arrange();
}

void PositionRow::arrange()
{
    const int field = fieldWidth * fontInfo().pixelSize() / usualTextPixels;
    const int columns = width() >= 4 * field + 3 * gap ? 4 : 2;
    for (int i = 0; i < 4; ++i) {
        m_fields.at(static_cast<std::size_t>(i))->setMinimumWidth(field);
    }
    if (columns == m_columns) {
        return;
    }
    m_columns = columns;
    for (int i = 0; i < 4; ++i) {
        m_grid->addWidget(m_fields.at(static_cast<std::size_t>(i)), i / columns, i % columns);
    }
}

QSize PositionRow::minimumSizeHint() const
{
    return { 2 * m_fields[0]->minimumWidth() + gap, QWidget::minimumSizeHint().height() };
}

void PositionRow::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    arrange();
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

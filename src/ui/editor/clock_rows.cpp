#include "ui/editor/clock_rows.h"

#include "base/i18n.h"
#include "ui/kit/controls.h"

#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalBlocker>
#include <QTimeEdit>

#include <algorithm>

namespace nimbara {

namespace {

constexpr const char *start = "Iniciar";
constexpr const char *pause = "Pausar";
const QTime midnight(0, 0);

QTimeEdit *makeTime(const char *spanish, const char *name, const char *format)
{
    auto *time = named(new QTimeEdit, name, nimbara_i18n::tr(spanish));
    time->setDisplayFormat(QLatin1String(format));
    time->setKeyboardTracking(false); // not with every figure of what is being typed
    return time;
}

void show(QComboBox *list, int entry)
{
    const QSignalBlocker blocker(list);
    list->setCurrentIndex(entry);
}

void show(QTimeEdit *field, QTime time)
{
    if (field->time() != time) {
        const QSignalBlocker blocker(field);
        field->setTime(time);
    }
}

} // namespace

ClockRows::ClockRows(QFormLayout &form, QObject *parent)
    : QObject(parent)
    , m_form(form)
    , m_shows(makeList({ "La hora",
                           "La hora con segundos",
                           "Cuenta atrás a una hora",
                           "Cuenta atrás de un tiempo" },
          "clockShows",
          "Muestra"))
    , m_until(makeTime("Hora final", "clockUntil", "HH:mm"))
    , m_duration(makeTime("Duración (h:min:s)", "clockDuration", "H:mm:ss"))
    , m_atZero(named(new QLineEdit, "clockAtZero", nimbara_i18n::tr("Al llegar a cero")))
    , m_toggle(makeButton(start, "clockToggle"))
    , m_reset(makeButton("Reiniciar", "clockReset"))
    , m_buttons(new QWidget)
{
    m_duration->setMinimumTime(midnight.addSecs(1));
    m_atZero->setPlaceholderText(QStringLiteral("00:00"));
    auto *buttons = new QHBoxLayout(m_buttons);
    buttons->setContentsMargins(0, 0, 0, 0);
    buttons->addWidget(m_toggle);
    buttons->addWidget(m_reset);
    buttons->addStretch();
    form.addRow(nimbara_i18n::tr("Muestra"), m_shows);
    form.addRow(nimbara_i18n::tr("Hora final"), m_until);
    form.addRow(nimbara_i18n::tr("Duración (h:min:s)"), m_duration);
    form.addRow(nimbara_i18n::tr("Al llegar a cero"), m_atZero);
    form.addRow(m_buttons);
    connectFields();
}

void ClockRows::connectFields()
{
    connect(m_shows, &QComboBox::currentIndexChanged, this, [this](int entry) {
        Q_EMIT edited(LayerField::ClockShows, std::int32_t { entry });
    });
    connect(m_until, &QTimeEdit::timeChanged, this, [this](QTime time) {
        Q_EMIT edited(LayerField::UntilMinute, std::int32_t { time.hour() * 60 + time.minute() });
    });
    connect(m_duration, &QTimeEdit::timeChanged, this, [this](QTime time) {
        Q_EMIT edited(LayerField::Duration, std::int32_t { midnight.secsTo(time) });
    });
    connect(m_atZero, &QLineEdit::textEdited, this, [this](const QString &text) {
        Q_EMIT edited(LayerField::Text, text);
    });
    connect(m_toggle, &QPushButton::clicked, this, &ClockRows::togglePressed);
    connect(m_reset, &QPushButton::clicked, this, &ClockRows::resetPressed);
}

void ClockRows::showRows(std::int32_t shows)
{
    m_form.setRowVisible(m_until, shows == clock_shows::untilTime);
    m_form.setRowVisible(m_duration, shows == clock_shows::duration);
    m_form.setRowVisible(m_atZero, shows >= clock_shows::untilTime);
    m_form.setRowVisible(m_buttons, shows == clock_shows::duration);
}

void ClockRows::refresh(const Layer &layer, bool running)
{
    show(m_shows, layer.clockShows);
    show(m_until, midnight.addSecs(layer.untilMinute * 60));
    show(m_duration, midnight.addSecs(layer.duration));
    showText(m_atZero, layer.text);
    m_toggle->setText(nimbara_i18n::tr(running ? pause : start));
    m_toggle->setMinimumWidth(std::max(m_toggle->minimumWidth(), m_toggle->sizeHint().width()));
    showRows(layer.clockShows);
}

} // namespace nimbara

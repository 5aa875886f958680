#include "ui/editor/transition_row.h"

#include "base/i18n.h"
#include "ui/kit/controls.h"

#include <QHBoxLayout>
#include <QSignalBlocker>

#include <array>
#include <cmath>

namespace nimbara {

namespace {

constexpr double msOfSecond = 1000;
constexpr std::array<const char *, transitionKinds> kindNames { "Corte",
    "Fundido",
    "Deslizar ←",
    "Deslizar →",
    "Deslizar ↑",
    "Deslizar ↓",
    "Barrido ←",
    "Barrido →",
    "Barrido ↑",
    "Barrido ↓",
    "Clip" };

QString nameOf(TransitionKind kind)
{
    return nimbara_i18n::tr(kindNames.at(static_cast<std::size_t>(kind)));
}

bool hasLength(const Transition &transition)
{
    return transition.kind != TransitionKind::Cut && transition.kind != TransitionKind::Clip;
}

} // namespace

QString transitionText(const Transition &transition)
{
    const QString name = nameOf(transition.kind);
    return !hasLength(transition) ? name
                                  : name + QLatin1Char(' ')
            + QString::number(transition.ms / msOfSecond, 'f', 1) + QStringLiteral(" s");
}

TransitionRow::TransitionRow(const QString &name, const QString &spoken, bool mayBeNone)
    : m_kinds(new QComboBox)
    , m_seconds(new QDoubleSpinBox)
    , m_before(mayBeNone ? 1 : 0)
{
    m_kinds->setObjectName(name);
    m_kinds->setAccessibleName(spoken);
    if (mayBeNone) {
        m_kinds->addItem(nimbara_i18n::tr("Como el proyecto"));
    }
    for (const char *kind : kindNames) {
        m_kinds->addItem(nimbara_i18n::tr(kind));
    }
    m_seconds->setObjectName(name + QStringLiteral("InSeconds"));
    m_seconds->setAccessibleName(spoken + QStringLiteral(": ") + nimbara_i18n::tr("Duración"));
    m_seconds->setSuffix(QStringLiteral(" s"));
    m_seconds->setDecimals(1);
    m_seconds->setSingleStep(0.1);
    m_seconds->setRange(Transition::shortestMs / msOfSecond, Transition::longestMs / msOfSecond);
    m_seconds->setValue(Transition::usualMs / msOfSecond);
    m_seconds->setKeyboardTracking(false);

    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(m_kinds, 1);
    row->addWidget(m_seconds);

    const auto tell = [this] {
        const std::optional<Transition> transition = chosen();
        showTransition(transition);
        Q_EMIT edited(transition);
    };
    connect(m_kinds, &QComboBox::currentIndexChanged, this, tell);
    connect(m_seconds, &QDoubleSpinBox::valueChanged, this, tell);
    showTransition(chosen());
}

std::optional<Transition> TransitionRow::chosen() const
{
    const int kind = m_kinds->currentIndex() - m_before;
    if (kind < 0) {
        return std::nullopt;
    }
    return Transition { static_cast<TransitionKind>(kind),
        static_cast<std::int32_t>(std::lround(m_seconds->value() * msOfSecond)) };
}

void TransitionRow::showTransition(const std::optional<Transition> &transition)
{
    const QSignalBlocker kindsBlocker(m_kinds);
    const QSignalBlocker secondsBlocker(m_seconds);
    m_kinds->setCurrentIndex(transition ? static_cast<int>(transition->kind) + m_before : 0);
    // A number that is being typed stays.
    if (transition && std::abs(transition->ms / msOfSecond - m_seconds->value()) > 0.05) {
        m_seconds->setValue(transition->ms / msOfSecond);
    }
    m_seconds->setEnabled(transition && hasLength(*transition));
}

} // namespace nimbara

#pragma once

#include "document/transition.h"

#include <QComboBox>
#include <QDoubleSpinBox>
#include <QString>
#include <QWidget>

#include <optional>

namespace nimbara {

/// The transition in words, with its length: "Fundido 0.4 s".
QString transitionText(const Transition &transition);

/// A transition to be chosen: its kind and its length, in seconds. None is "as the project", where
/// that may be chosen.
class TransitionRow : public QWidget {
    Q_OBJECT
public:
    /// `name`: of the list of kinds; the length's has "InSeconds" behind. `spoken`: what a screen
    /// reader calls them.
    TransitionRow(const QString &name, const QString &spoken, bool mayBeNone);

    /// Without the signal.
    void showTransition(const std::optional<Transition> &transition);

    [[nodiscard]] QComboBox *kinds() const { return m_kinds; }

Q_SIGNALS:
    void edited(const std::optional<nimbara::Transition> &transition);

private:
    [[nodiscard]] std::optional<Transition> chosen() const;

    QComboBox *m_kinds;
    QDoubleSpinBox *m_seconds;
    int m_before; ///< entries in front of the kinds
};

} // namespace nimbara

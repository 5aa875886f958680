#pragma once

#include <QString>

class QWidget;

namespace nimbara::testing {

/// The controls of a window that a screen reader has no name for, one line each.
QString namelessControls(const QWidget &window);

/// The texts whose contrast with what is behind them, as it is drawn, is under 4.5 : 1 (WCAG 2.2,
/// success criterion 1.4.3), one line each. What is disabled need not be read.
QString faintTexts(QWidget &window);

/// The visible controls that the Tab key does not come to, and those that look the same while they
/// have the keyboard, one line each. The window must be active.
QString lostToTheKeyboard(QWidget &window);

} // namespace nimbara::testing

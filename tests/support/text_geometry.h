#pragma once

#include <QString>

class QWidget;

namespace nimbara::testing {

/// The visible widgets of a window that show part of their text alone, one line each; empty when
/// there is none.
QString cutOffTexts(const QWidget &window);

/// The pairs of visible texts that lie upon each other, one line each.
QString overlappingTexts(const QWidget &window);

/// The buttons that can be pressed only after scrolling, one line each.
QString buttonsOutOfSight(const QWidget &window);

} // namespace nimbara::testing

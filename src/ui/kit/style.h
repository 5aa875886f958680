#pragma once

#include <QString>

class QFont;

namespace nimbara {

/// The height of the texts, in pixels, on a desktop whose own are of the usual height.
constexpr int usualTextPixels = 13;

/// The height of the texts where the desktop's font is this one: larger where the operator has made
/// the desktop's larger, up to twice.
int textPixels(const QFont &desktop);

/// The application-wide style sheet.
QString applicationStyleSheet(int textPixels = usualTextPixels);

} // namespace nimbara

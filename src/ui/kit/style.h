#pragma once

#include <QString>

namespace nimbara {

/// The application-wide style sheet.
QString applicationStyleSheet();

} // namespace nimbara

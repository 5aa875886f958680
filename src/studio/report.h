#pragma once

#include <QString>

#include <functional>

namespace nimbara {

/// Takes one line for the operator, already translated.
using Report = std::function<void(const QString &)>;

} // namespace nimbara

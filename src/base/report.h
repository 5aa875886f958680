#pragma once

#include "base/message.h"

#include <functional>

namespace nimbara {

/// Takes one line for the operator.
using Report = std::function<void(const Message &)>;

} // namespace nimbara

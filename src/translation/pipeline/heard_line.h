#pragma once

#include "base/message.h"

#include <QString>

#include <optional>

/// The operator's line of what was understood. Pure.
namespace nimbara::heard {

/// The label's text: "Escuchado: " and the last 300 characters.
Message label(const QString &text);

/// The line for the log; none for a text that is still being spoken.
std::optional<QString> logText(const QString &text);

} // namespace nimbara::heard

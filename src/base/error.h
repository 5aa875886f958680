#pragma once

#include "base/message.h"

#include <QString>

#include <stdexcept>

namespace nimbara {

/// The one failure type of the studio. It carries the operator's text, to be translated by whoever
/// shows it.
///
/// The text never holds a secret (a stream key, an API key).
class Error : public std::runtime_error {
public:
    explicit Error(const Message &message);

    [[nodiscard]] const Message &message() const { return m_message; }

    /// The message in Spanish.
    [[nodiscard]] QString text() const;

private:
    Message m_message;
};

/// The operator's text of any exception of the standard family: that of an `Error`, else what it
/// says of itself.
Message errorMessage(const std::exception &error);

/// The same in Spanish.
QString errorText(const std::exception &error);

} // namespace nimbara

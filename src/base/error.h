#pragma once

#include <QString>

#include <stdexcept>

namespace nimbara {

/// The one failure type of the studio. It carries the operator's text: Spanish, as it stands in the
/// text table, so that whoever shows it passes it through `nimbara_i18n::tr` first.
///
/// The text never holds a secret (a stream key, an API key).
class Error : public std::runtime_error {
public:
    explicit Error(const QString &text);

    /// The operator's text, untranslated.
    [[nodiscard]] QString text() const;
};

/// The operator's text of any exception of the standard family: UTF-8 decoded, untranslated.
QString errorText(const std::exception &error);

} // namespace nimbara

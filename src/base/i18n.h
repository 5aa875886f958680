#pragma once

#include <QHash>
#include <QLocale>
#include <QString>

/// The interface language. Every text that the operator sees is written in Spanish in the code and
/// passes through `tr` before it is shown.
///
/// Language and table are written once, at start-up on the interface thread, before any other
/// thread may read them.
namespace nimbara_i18n {

/// The current language, "es" or "en"; "es" until start-up settles it.
QString &language();

/// The language for a stored setting: the setting when it is exactly "es" or "en", else "es" on a
/// Spanish system and "en" on any other.
QString startLanguage(const QString &setting, const QLocale &system);

/// Spanish text → English twin, compared exactly.
const QHash<QString, QString> &english();

/// The text to show: the English twin when the language is "en" and there is one. Anything else is
/// returned as it is.
QString tr(const QString &text);
QString tr(const char *text); ///< The same for UTF-8.

} // namespace nimbara_i18n

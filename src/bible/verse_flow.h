#pragma once

#include "base/message.h"
#include "bible/builtin.h"
#include "bible/reference.h"

#include <QString>

#include <optional>

/// The steps of a verse lookup as pure functions: what is shown, what is said.
namespace bible {

/// Where verses come from: "es", "en", "api", or "other:" and a language name in lower case.
/// `stored` is the setting "bible_choice"; anything but the first three follows `target`, the
/// subtitles' language as the operator wrote it.
QString bibleChoice(const QString &stored, const QString &target);

/// The language of the built-in Bible that a choice shows first: "en" for "en", else "es".
QString builtInLanguage(const QString &choice);

/// The language name behind "other:"; nothing for any other choice.
std::optional<QString> translationTarget(const QString &choice);

/// What to write into a verse layer. An online reply leaves the name as it is.
struct VerseUpdate {
    std::optional<QString> name; ///< the layer's label, "Juan 3:16"
    QString text;
    QString reference; ///< "Juan 3:16 · Reina-Valera 1909"

    bool operator==(const VerseUpdate &) const = default;
};

/// Reads a typed reference. Throws nimbara::Error when it is not recognised.
Ref requireReference(const QString &typed);

/// The text at once: from a built-in Bible, labelled in `lang`. Throws nimbara::Error when the
/// Bible is broken or has no such text.
VerseUpdate builtInVerse(const Bible &bible, const Ref &ref, const QString &lang);

/// What becomes of an online reply: the new contents of the layer, nothing when the built-in text
/// stays, and the message for the status line.
struct VerseOutcome {
    std::optional<VerseUpdate> update;
    nimbara::Message status;

    bool operator==(const VerseOutcome &) const = default;
};

/// `listed` is the chosen entry of the Bible list, "Reina Valera 1960 (RVR60)", or
/// empty.
VerseOutcome passageOutcome(const Ref &ref,
    const QString &listed,
    const QString &text,
    const nimbara::Message &error);

VerseOutcome translationOutcome(const Ref &ref, const QString &text, const nimbara::Message &error);

/// "Versículo listo: " and the label.
nimbara::Message readyStatus(const QString &label);

} // namespace bible

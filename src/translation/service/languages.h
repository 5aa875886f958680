#pragma once

#include <QString>
#include <QStringList>

/// The languages of the translation. A target is a language name, sent to the model as it stands; a
/// source is a code: "es", "en" or empty for any other.
namespace nimbara::languages {

/// The target offered first.
QString defaultTarget();

/// The targets offered, in their order; the operator may type any other.
const QStringList &targets();

/// What is preached when the screens show `target`: "en" for "Spanish", "es" for "English", else
/// empty.
QString sourceFor(const QString &target);

/// Transcription prompt of an uploaded phrase.
QString phrasePrompt(const QString &source);

/// Transcription prompt of a live session.
QString livePrompt(const QString &source);

/// A transcription prompt with the terms that may be heard, if any.
QString withTerms(const QString &prompt, const QString &terms);

/// ISO 639 code of a target; of one that is not offered its name as a word of a file's name.
QString codeOf(const QString &target);

} // namespace nimbara::languages

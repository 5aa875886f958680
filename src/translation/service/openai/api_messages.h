#pragma once

#include <QByteArray>
#include <QHttpMultiPart>
#include <QJsonObject>
#include <QString>

#include <memory>

/// Bodies of the OpenAI calls and what is read from their replies. Pure.
namespace nimbara::api {

/// Translates `text` into the language named `target`. `context` is what was said and translated
/// just before, or empty (`TranscriptMemory::context`). `terms`: translations to keep to, one a
/// line, or empty.
QJsonObject translationBody(const QString &target,
    const QString &context,
    const QString &text,
    const QString &terms = {});

/// Speaks `text`; the reply is raw PCM (`voice.h`).
QJsonObject speechBody(const QString &text);

/// The smallest request that proves that key, model and credit work.
QJsonObject keyTestBody();

/// The upload of one phrase: `wav` is a whole WAV file, `source` the language code that was spoken
/// or empty, which leaves the language to the model. `terms`: that may be heard in it, or empty.
std::unique_ptr<QHttpMultiPart>
transcriptionForm(const QString &source, const QByteArray &wav, const QString &terms = {});

/// "text" of a transcription reply; empty when there is none.
QString transcript(const QByteArray &body);

} // namespace nimbara::api

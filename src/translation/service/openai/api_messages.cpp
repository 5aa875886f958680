#include "translation/service/openai/api_messages.h"

#include "net/openai.h"
#include "translation/service/languages.h"

#include <QJsonDocument>

namespace nimbara::api {

namespace {

QString instructions(const QString &target)
{
    return QStringLiteral(
               "You are the live interpreter of a Christian church service (preaching, prayer, "
               "announcements). Translate the NEW text into natural, fluent ")
        + target
        + QStringLiteral(
            " as a human interpreter would (meaning over literal words; keep Bible references "
            "and names; 'sala' is the church hall, not a courtroom). The audio was cut into "
            "short pieces, so the new text may start or end mid-sentence: translate it so it "
            "reads well after the previous translation, but translate ONLY the words actually "
            "said: never complete, extend or guess an unfinished sentence (if it ends "
            "mid-sentence, your translation ends mid-sentence too). Never repeat or "
            "re-translate anything already present in the previous translation. Output ONLY "
            "the translation of the new text, nothing else. If the new text is noise, a "
            "meaningless fragment, or a repetition, output nothing.");
}

QString toldTerms(const QString &terms)
{
    return terms.isEmpty() ? QString()
                           : QStringLiteral(" Translate these terms exactly as given:\n") + terms;
}

QHttpPart formPart(const QString &disposition, const QByteArray &value)
{
    QHttpPart part;
    part.setHeader(QNetworkRequest::ContentDispositionHeader,
        QString(QStringLiteral("form-data; ") + disposition));
    part.setBody(value);
    return part;
}

QHttpPart field(const char *name, const QString &value)
{
    return formPart(QStringLiteral("name=\"%1\"").arg(QLatin1String(name)), value.toUtf8());
}

} // namespace

QJsonObject translationBody(const QString &target,
    const QString &context,
    const QString &text,
    const QString &terms)
{
    return openai::textBody({
        .instructions = instructions(target) + toldTerms(terms),
        .input = context + QStringLiteral("New text: ") + text,
        .maxOutputTokens = 400,
    });
}

QJsonObject speechBody(const QString &text)
{
    return {
        { QStringLiteral("model"), QStringLiteral("gpt-4o-mini-tts") },
        { QStringLiteral("voice"), QStringLiteral("coral") },
        { QStringLiteral("input"), text },
        { QStringLiteral("response_format"), QStringLiteral("pcm") },
    };
}

QJsonObject keyTestBody()
{
    return openai::textBody({
        .instructions = {},
        .input = QStringLiteral("Responde solo: OK"),
        .maxOutputTokens = 16,
    });
}

std::unique_ptr<QHttpMultiPart>
transcriptionForm(const QString &source, const QByteArray &wav, const QString &terms)
{
    auto form = std::make_unique<QHttpMultiPart>(QHttpMultiPart::FormDataType);
    form->append(field("model", QStringLiteral("gpt-4o-transcribe")));
    if (!source.isEmpty()) {
        form->append(field("language", source));
    }
    form->append(field("prompt", languages::withTerms(languages::phrasePrompt(source), terms)));
    form->append(field("response_format", QStringLiteral("json")));
    QHttpPart file = formPart(QStringLiteral("name=\"file\"; filename=\"church.wav\""), wav);
    file.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("audio/wav"));
    form->append(file);
    return form;
}

QString transcript(const QByteArray &body)
{
    return QJsonDocument::fromJson(body).object().value(QLatin1String("text")).toString();
}

} // namespace nimbara::api

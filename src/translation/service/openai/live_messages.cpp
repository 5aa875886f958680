#include "translation/service/openai/live_messages.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace nimbara::live {

namespace {

QString turnModel()
{
    return QStringLiteral("gpt-4o-transcribe");
}

QString environmentOr(const char *name, const QString &fallback)
{
    const QString value = qEnvironmentVariable(name);
    return value.isEmpty() ? fallback : value;
}

QJsonObject transcription(const SessionSettings &settings)
{
    QJsonObject object;
    if (settings.turnMode) {
        object.insert(QLatin1String("model"), turnModel());
        if (!settings.language.isEmpty()) {
            object.insert(QLatin1String("language"), settings.language);
        }
        return object;
    }
    object.insert(QLatin1String("model"), QStringLiteral("gpt-live-transcribe"));
    object.insert(QLatin1String("prompt"), settings.prompt);
    if (!settings.language.isEmpty()) {
        object.insert(QLatin1String("languages"), QJsonArray { settings.language });
    }
    object.insert(QLatin1String("delay"), settings.delay);
    return object;
}

/// Who finds the end of a turn: the server in turn mode, else this side, by its commits.
QJsonValue turnDetection(bool turnMode)
{
    if (!turnMode) {
        return QJsonValue::Null;
    }
    return QJsonObject {
        { QStringLiteral("type"), QStringLiteral("server_vad") },
        { QStringLiteral("threshold"), 0.5 },
        { QStringLiteral("prefix_padding_ms"), 300 },
        { QStringLiteral("silence_duration_ms"), 450 },
    };
}

} // namespace

SessionSettings fromEnvironment(const QString &language, const QString &prompt)
{
    SessionSettings settings;
    settings.turnMode = qEnvironmentVariable("VESPERLINE_LIVE_MODEL") == turnModel();
    settings.language = language;
    settings.prompt = prompt;
    settings.delay = environmentOr("VESPERLINE_LIVE_DELAY", settings.delay);
    settings.noiseReduction = environmentOr("VESPERLINE_LIVE_NR", settings.noiseReduction);
    return settings;
}

QByteArray sessionUpdate(const SessionSettings &settings)
{
    const QJsonObject format {
        { QStringLiteral("type"), QStringLiteral("audio/pcm") },
        { QStringLiteral("rate"), 24000 },
    };
    const QJsonObject noise { { QStringLiteral("type"), settings.noiseReduction } };
    const QJsonObject input {
        { QStringLiteral("format"), format },
        { QStringLiteral("transcription"), transcription(settings) },
        { QStringLiteral("noise_reduction"), noise },
        { QStringLiteral("turn_detection"), turnDetection(settings.turnMode) },
    };
    const QJsonObject audio { { QStringLiteral("input"), input } };
    const QJsonObject session {
        { QStringLiteral("type"), QStringLiteral("transcription") },
        { QStringLiteral("audio"), audio },
    };
    const QJsonObject update {
        { QStringLiteral("type"), QStringLiteral("session.update") },
        { QStringLiteral("session"), session },
    };
    return QJsonDocument(update).toJson(QJsonDocument::Compact);
}

// The two messages of the audio road are written out: base64 needs no escaping, and they leave ten
// times a second.
QByteArray audioAppend(const QByteArray &pcm)
{
    return R"({"type":"input_audio_buffer.append","audio":")" + pcm.toBase64() + R"("})";
}

QByteArray audioCommit()
{
    return R"({"type":"input_audio_buffer.commit"})";
}

} // namespace nimbara::live

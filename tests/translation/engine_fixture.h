#pragma once

#include "support/api_peer.h"
#include "support/manual_clock.h"
#include "support/test_registry.h"
#include "translation/pipeline/engine.h"
#include "translation/service/openai/openai_service.h"
#include "translation/signal.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QtEndian>

#include <algorithm>

namespace nimbara::testing {

using namespace Qt::StringLiterals;

inline constexpr const char *transcriptions = "/v1/audio/transcriptions";
inline constexpr const char *responses = "/v1/responses";
inline constexpr const char *speeches = "/v1/audio/speech";
inline const QString liveActive = u"Modo en vivo activo (texto mientras se habla)."_s;

inline QString inputOf(const QJsonObject &request)
{
    return QJsonDocument::fromJson(field(request, "body").toUtf8())["input"_L1].toString();
}

/// The last part of the form.
inline QByteArray wavOf(const QJsonObject &upload)
{
    const QJsonObject file = upload[u"form"].toArray().last().toObject();
    return QByteArray::fromBase64(field(file, "base64").toLatin1());
}

inline double voicedMs(const QByteArray &wav)
{
    int voiced = 0;
    for (qsizetype at = 44; at < wav.size(); at += 2) {
        voiced += qFromLittleEndian<qint16>(wav.constData() + at) > 300 ? 1 : 0;
    }
    return voiced / 16.0;
}

/// The engine against a server of the API over TLS, with the clock cranked by hand.
class EngineFixture : public QObject {
protected:
    void restart()
    {
        m_engine.reset();
        QVERIFY2(!(m_statuses + m_captions + m_heard).join(u' ').contains(u"sk-secret"),
            "the key leaked");
        m_statuses.clear();
        m_captions.clear();
        m_heard.clear();
        m_notices.clear();
        m_voices.clear();
        m_peer.live("accept");
        m_peer.events.clear();
        m_peer.onEvent = {};
        m_engine = std::make_unique<Translation>(m_clock,
            std::make_unique<OpenAiProvider>(m_clock, m_peer.endpoint()));
        m_engine->statusChanged
            = [this](const Message &text) { m_statuses.append(text.spanish()); };
        m_engine->caption = [this](const Caption &caption) { m_captions.append(caption.text); };
        m_engine->captionNotice = [this](const Message &text) { m_notices.append(text.spanish()); };
        m_engine->heard = [this](const Message &text) { m_heard.append(text.spanish()); };
        m_engine->voiceAudio = [this](const QByteArray &pcm, Target) { m_voices.append(pcm); };
    }

    void start(bool live = false, bool voice = false, const QString &source = u"es"_s)
    {
        m_engine->setLiveDisabled(!live);
        m_engine->start(u" sk-secret\n"_s, u"English"_s, voice, source);
    }

    void startLive(bool voice = false)
    {
        m_peer.events.clear();
        m_statuses.clear();
        start(true, voice);
        QTRY_COMPARE(m_peer.count("text"), 1);
        m_peer.send(R"({"type":"session.updated"})");
        QTRY_COMPARE(m_statuses,
            (QStringList { u"IA activa; conectando modo en vivo..."_s, liveActive }));
    }

    void hear(const AudioBlock &block)
    {
        inPieces(block, 960, [this](const AudioBlock &piece) { m_engine->processAudio(piece); });
    }

    /// Phrases of 1.9 s each.
    void speak(int phrases = 1)
    {
        for (int i = 0; i < phrases; ++i) {
            hear(signal({ { 1200, 0.2 }, { 700, 0 } }));
        }
    }

    /// Speaks a phrase and answers its transcript and its translation.
    void interpret(const QString &heard, const QString &translation)
    {
        const auto uploads = m_peer.of("request", transcriptions).size();
        const auto asked = m_peer.of("request", responses).size();
        speak();
        transcribe(await(transcriptions, uploads + 1).back(), heard);
        translate(await(responses, asked + 1).back(), translation);
    }

    /// A transcript of the live session, and the answer to the `count`th request for its
    /// translation.
    void turn(const QString &heard, std::size_t count, const QString &translation)
    {
        turn(heard);
        translate(await(responses, count).at(count - 1), translation);
    }

    static QByteArray completed(const QByteArray &text)
    {
        return R"({"type":"conversation.item.input_audio_transcription.completed","transcript":")"
            + text + "\"}";
    }

    /// On one of the live sessions.
    void tell(int session, const QByteArray &message)
    {
        const QJsonObject command { { u"do"_s, u"send"_s },
            { u"session"_s, session },
            { u"text"_s, QString::fromUtf8(message) } };
        m_peer.command(QJsonDocument(command).toJson(QJsonDocument::Compact));
    }

    [[nodiscard]] bool hasCommitted(int session) const
    {
        const auto texts = m_peer.of("text");
        return std::any_of(texts.begin(), texts.end(), [session](const QJsonObject &event) {
            return event.value(u"session").toInt() == session
                && field(event, "text").contains(u"input_audio_buffer.commit");
        });
    }

    void turn(const QString &text) { m_peer.sendTranscript(text.toUtf8()); }

    /// The requests of this path, in their order, once there are so many.
    std::vector<QJsonObject> await(const char *path, std::size_t count)
    {
        const bool came
            = QTest::qWaitFor([&] { return m_peer.of("request", path).size() >= count; }, 30000);
        if (!came) {
            qFatal("the requests did not come: %s", path);
        }
        return m_peer.of("request", path);
    }

    void transcribe(const QJsonObject &upload, const QString &text)
    {
        m_peer.answer(upload, "{\"text\":\"" + text.toUtf8() + "\"}");
    }

    void translate(const QJsonObject &request, const QString &text)
    {
        m_peer.answer(request,
            "{\"output\":[{\"content\":[{\"type\":\"output_text\",\"text\":\"" + text.toUtf8()
                + "\"}]}]}");
    }

    ApiPeer m_peer;
    ManualClock m_clock;
    std::unique_ptr<Translation> m_engine;
    QStringList m_statuses;
    QStringList m_notices;
    QStringList m_captions;
    QStringList m_heard;
    QByteArrayList m_voices;
};

} // namespace nimbara::testing

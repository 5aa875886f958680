#include "support/manual_clock.h"
#include "support/test_registry.h"
#include "translation/pipeline/engine.h"
#include "translation/signal.h"

#include <QTest>
#include <QTimer>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

/// On this computer: no network, no refusals, answers from the event loop.
class LocalService final : public LanguageService {
public:
    void open(const QString &) override { m_open = true; }
    void close() override
    {
        m_open = false;
        ++m_generation;
    }
    [[nodiscard]] bool isOpen() const override { return m_open; }
    [[nodiscard]] std::int32_t generation() const override { return m_generation; }
    void warmUp() override { }
    void transcribe(const Phrase &phrase, Text done, Failed) override
    {
        later([=] { done(u"%1 segundos"_s.arg((phrase.wav.size() + 16000) / 32000)); });
    }
    void translate(const Wording &wording, Text done, Failed) override
    {
        later([=] { done(wording.target + u": "_s + wording.text); });
    }
    void speak(const QString &text, Sound done) override
    {
        later([=] { done(text.toUtf8()); });
    }

private:
    template <typename Answer> void later(Answer answer) { QTimer::singleShot(0, &m_life, answer); }
    QObject m_life;
    bool m_open = false;
    std::int32_t m_generation = 0;
};

/// Hears the words at once.
class LocalSession final : public LiveSession {
public:
    void start(const QString &, const QString &, const QString &) override
    {
        QTimer::singleShot(0, &m_life, [this] {
            m_active = true;
            confirmed();
        });
    }
    void setPrompt(const QString &) override { }
    void stop() override { m_active = false; }
    void pushAudio(const AudioBlock &) override
    {
        if (m_active) {
            phraseEnded();
            phraseDone();
            turn(u"gracia"_s, {});
        }
    }
    void finish() override { }
    [[nodiscard]] bool isSettled() const override { return true; }
    void checkAnswer() override { }
    [[nodiscard]] std::int32_t pauseMs() const override { return 0; }
    [[nodiscard]] bool isKeyRejected() const override { return false; }
    [[nodiscard]] bool isActive() const override { return m_active; }

private:
    QObject m_life;
    bool m_active = false;
};

class LocalProvider final : public ServiceProvider {
public:
    [[nodiscard]] std::unique_ptr<LanguageService> makeService() const override
    {
        return std::make_unique<LocalService>();
    }
    [[nodiscard]] std::unique_ptr<LiveSession> makeLiveSession() const override
    {
        return std::make_unique<LocalSession>();
    }
};

} // namespace

class OtherProviderTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    /// Nothing of the road from the voice to the captions of two languages is the first
    /// provider's own.
    void servesBothRoadsAndBothLanguages()
    {
        for (const bool isLive : { false, true }) {
            ManualClock clock;
            Translation engine(clock, std::make_unique<LocalProvider>());
            QStringList captions;
            QList<QByteArray> voices;
            engine.caption = [&](const Caption &caption) { captions << caption.text; };
            engine.voiceAudio = [&](const QByteArray &pcm, Target) { voices << pcm; };
            engine.setLiveDisabled(!isLive);
            engine.start(u"-"_s, u"English"_s, true, u"es"_s, u"Deutsch"_s);
            QTRY_COMPARE(engine.road(), isLive ? VoiceRoad::Live : VoiceRoad::Phrases);
            inPieces(signal({ { 1200, 0.2 }, { 700, 0 } }),
                isLive ? 1900 * 48 : 960,
                [&](const AudioBlock &piece) { engine.processAudio(piece); });
            const QString heard = isLive ? u"gracia"_s : u"2 segundos"_s;
            QTRY_COMPARE(captions.size(), 2);
            captions.sort();
            QCOMPARE(captions, (QStringList { u"Deutsch: "_s + heard, u"English: "_s + heard }));
            QTRY_COMPARE(voices, QList { "English: " + heard.toUtf8() });
        }
    }
};

NIMBARA_TEST(OtherProviderTest)
#include "other_provider_test.moc"

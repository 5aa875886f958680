#include "bench.h"
#include "studio/studio.h"
#include "support/api_peer.h"
#include "translation/pulpit.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTemporaryDir>
#include <QTimer>

#include <array>
#include <cstdio>
#include <utility>

namespace {

using namespace nimbara;
using namespace nimbara::bench;
using namespace std::chrono_literals;

constexpr int phraseCount = 50;
constexpr int answerMs = 300; ///< what the server takes for each of its two answers

/// The stages of one phrase, in milliseconds.
struct Stages {
    double heard = 0; ///< after the pause that ends it, until the server has it
    double asked = 0; ///< from its transcript until the server has the request to translate
    double shown = 0; ///< from its translation until a composed picture shows it
    [[nodiscard]] double total() const { return heard + asked + shown + 2 * answerMs; }
};

bool hasCaption(const QImage &hall)
{
    for (int y = 0; y < hall.height(); y += 4) {
        for (int x = 0; x < hall.width(); x += 4) {
            if (qGray(hall.pixel(x, y)) > 240) {
                return true;
            }
        }
    }
    return false;
}

/// The studio as in a service, recording, with a preacher and the API at 300 ms.
class Service {
public:
    Service(bool live, std::chrono::milliseconds pause)
        : m_pause(static_cast<double>(pause.count()))
        , m_received(live ? "text" : "request", live ? nullptr : "/transcriptions")
    {
        m_peer.serve(script(), answerMs);
        TranslationDesk &desk = m_studio.translation();
        QObject::connect(&desk, &TranslationDesk::reported, &desk, [this](const Message &text) {
            m_status = text.spanish();
        });
        QObject::connect(&m_studio,
            &Studio::picturesMade,
            &m_studio,
            [this](const Pictures &pictures) { look(pictures.hall); });
        m_studio.document().setEditing(SceneSet::Hall);
        m_studio.program().take();
        m_studio.outputs().recording().start(m_folder.filePath(QStringLiteral("latency.webm")),
            m_studio.stage().streamFrame());
        m_studio.audio().setCapture(m_pulpit.capture(m_clock));
        QObject::connect(&m_timer, &QTimer::timeout, [this] { m_studio.tick(); });
        m_timer.setTimerType(Qt::PreciseTimer);
        m_timer.start(5ms);
        desk.setLiveMode(live);
        desk.chooseTarget(QStringLiteral("English"));
        desk.setKeepsKey(false);
        desk.key().setText(QStringLiteral("sk-bench"));
        desk.toggle();
        const QString ready = live ? QStringLiteral("Modo en vivo activo") : QStringLiteral("IA");
        await([this, ready] { return m_status.startsWith(ready); });
        await([this] { return !m_peer.of("request", "/models/gpt-4.1-mini").empty(); });
    }

    Stages phrase()
    {
        m_studio.translation().clearCaptions();
        m_peer.events.clear();
        m_shownMs = 0;
        m_pulpit.speak(1s);
        await([this] { return m_shownMs > 0; });
        const double received = arrival(m_received.first, m_received.second);
        const double asked = arrival("request", "/responses");
        return { received - m_pulpit.endedMs() - m_pause,
            asked - received - answerMs,
            m_shownMs - asked - answerMs };
    }

private:
    static QList<QPair<QString, QString>> script()
    {
        QList<QPair<QString, QString>> phrases;
        for (int i = 0; i < phraseCount; ++i) {
            phrases.append({ QStringLiteral("frase %1").arg(i),
                QStringLiteral("For God so loved the world, that he gave his Son %1").arg(i) });
        }
        return phrases;
    }

    template <typename Condition> static void await(Condition condition)
    {
        const QDeadlineTimer deadline(20s);
        while (!condition()) {
            if (deadline.hasExpired()) {
                qFatal("the phrase got stuck");
            }
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
    }

    void look(const QImage &hall)
    {
        const double now = nowMs();
        if (m_shownMs == 0 && !m_studio.stage().captions.phrases.isEmpty() && hasCaption(hall)) {
            m_shownMs = now;
        }
    }

    /// When the server had what ends a phrase: the commit on the live road, else its upload.
    double arrival(const char *kind, const char *path)
    {
        for (const QJsonObject &event : m_peer.of(kind, path)) {
            if (path != nullptr || testing::field(event, "text").contains(u".commit")) {
                return event.value(QLatin1String("at")).toDouble();
            }
        }
        qFatal("the server has not heard of the phrase");
    }

    const SystemClock m_clock;
    const double m_pause;
    const std::pair<const char *, const char *> m_received;
    const QTemporaryDir m_folder;
    testing::ApiPeer m_peer;
    Pulpit m_pulpit;
    Studio m_studio { m_clock, { nullptr, m_peer.endpoint(), apiBibleEndpoint() } };
    QString m_status;
    double m_shownMs = 0;
    QTimer m_timer;
};

std::string tellLatency(bool live, std::chrono::milliseconds pause)
{
    Service service(live, pause);
    std::vector<double> heard;
    std::vector<double> asked;
    std::vector<double> shown;
    std::vector<double> total;
    for (int i = 0; i < phraseCount; ++i) {
        const Stages stages = service.phrase();
        heard.push_back(stages.heard);
        asked.push_back(stages.asked);
        shown.push_back(stages.shown);
        total.push_back(stages.total());
    }
    std::array<char, 240> text {};
    std::snprintf(text.data(),
        text.size(),
        "median of %d, beyond the pause of %d ms\theard %.1f ms\ttranscribed %d ms\tasked %.1f "
        "ms\ttranslated %d ms\tshown %.1f ms\ttogether %.1f ms\tlongest %.1f ms",
        phraseCount,
        static_cast<int>(pause.count()),
        median(heard),
        answerMs,
        median(asked),
        answerMs,
        median(shown),
        median(total),
        *std::max_element(total.begin(), total.end()));
    return text.data();
}

std::string tellLive()
{
    return tellLatency(true, 450ms);
}

std::string tellPhrases()
{
    return tellLatency(false, 700ms);
}

} // namespace

NIMBARA_BENCH_CASE("caption-live", tellLive)
NIMBARA_BENCH_CASE("caption-phrases", tellPhrases)

#include "base/clock.h"
#include "media/capture/audio_capture.h"
#include "media/capture/devices.h"
#include "media/sources/media_factory.h"
#include "poll.h"
#include "support/clips.h"
#include "support/error_of.h"
#include "support/fake_device.h"
#include "support/process.h"
#include "support/test_registry.h"

#include <map>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

constexpr FrameSize size { 160, 90 };

/// GStreamer's leak tracer, switched on by GST_TRACERS=leaks before the program starts; null
/// without.
GstTracer *leakTracer()
{
    GList *tracers = gst_tracing_get_active_tracers();
    GstTracer *found = nullptr;
    for (const GList *item = tracers; item != nullptr; item = item->next) {
        if (g_str_equal(G_OBJECT_TYPE_NAME(item->data), "GstLeaksTracer") != FALSE) {
            found = GST_TRACER(item->data);
        }
    }
    g_list_free_full(tracers, gst_object_unref);
    return found;
}

/// Every object of GStreamer that somebody still holds; with its description, which reads the
/// object, if it has come to rest: a thread that is about to end may be freeing it.
std::map<gpointer, QString> aliveObjects(bool atRest = false)
{
    GstStructure *info = nullptr;
    g_signal_emit_by_name(leakTracer(), "get-live-objects", &info);
    // The tracer names the objects without holding them; freeing its list would let them go, so it
    // stays.
    const GValue *list = gst_structure_get_value(info, "live-objects-list");
    std::map<gpointer, QString> alive;
    for (guint i = 0; i < gst_value_list_get_size(list); ++i) {
        const auto *entry = gst_value_get_structure(gst_value_list_get_value(list, i));
        const GCharPtr text(atRest ? gst_structure_to_string(entry) : nullptr);
        alive.emplace(g_value_peek_pointer(gst_structure_get_value(entry, "object")),
            QString::fromUtf8(text.get()));
    }
    return alive;
}

using Scenario = std::function<void()>;

} // namespace

/// Runs with GST_TRACERS=leaks.
class LeaksTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(leakTracer() != nullptr, "needs GST_TRACERS=leaks in the environment");
    }

    void noticesAnObjectThatStays()
    {
        const auto before = aliveObjects().size();
        const auto caps = CapsRef::adopt(gst_caps_new_empty_simple("video/x-raw"));
        QCOMPARE(aliveObjects().size(), before + 1);
    }

    void leavesNothingBehind()
    {
        const auto media
            = [this](const QString &path) { play(m_factory.media(size, fileLocation(path))); };
        const auto camera = [this](const char *opens) {
            const DeviceRef device = fakeDevice({ .opens = opens });
            play(m_factory.camera(size, device.get(), {}));
        };
        const QString file = clip({ .seconds = 0.4 });
        const std::pair<const char *, Scenario> rows[] {
            { "test bars", [&] { play(m_factory.testBars(size)); } },
            { "screen", [&] { play(m_factory.screen(size)); } },
            { "camera", [&] { camera("videotestsrc is-live=true"); } },
            { "camera that ends", [&] { camera("videotestsrc num-buffers=2"); } },
            { "camera that fails", [&] { camera("videotestsrc ! identity error-after=2"); } },
            { "refused camera", [&] { refused([&] { camera("filesrc ! rawvideoparse"); }); } },
            { "camera without a picture", [&] { refused([&] { camera("audiotestsrc"); }, true); } },
            { "camera without an element", [&] { refused([&] { camera(""); }, true); } },
            { "file", [&] { media(file); } },
            { "portrait file", [&] { media(clip({ .seconds = 0.4, .rotate = 90 })); } },
            { "file that ends", [&] { play(m_factory.media(size, fileLocation(file)), 1000); } },
            { "file dropped at once", [&] { (void)m_factory.media(size, fileLocation(file)); } },
            { "broken file", [&] { media(u"/etc/passwd"_s); } },
            { "no file", [&] { refused([&] { media(u"/nonexistent"_s); }); } },
            { "no server", [&] { play(m_factory.media(size, u"http://127.0.0.1:9/a.mp4"_s)); } },
            { "missing components",
                [&] {
                    for (const char *element :
                        { "appsink", "audioresample", "videoscale", "videotestsrc" }) {
                        const HiddenElement hidden(element);
                        refused([&] { (void)m_factory.testBars(size); }, true);
                    }
                    const HiddenElement hidden("audioresample");
                    refused([&] { (void)AudioCapture(m_clock, nullptr); }, true);
                } },
            { "tone", [&] { capture(""); } },
            { "microphone", [&] { capture("audiotestsrc is-live=true"); } },
            { "microphone that fails", [&] { capture("audiotestsrc ! identity error-after=1"); } },
            { "refused microphone", [&] { refused([&] { capture("filesrc ! rawaudioparse"); }); } },
            { "silent microphone", [&] { refused([&] { capture("videotestsrc"); }, true); } },
            { "device search",
                [] {
                    DeviceDiscovery discovery;
                    discovery.start();
                    QVERIFY(QTest::qWaitFor([&] { return discovery.poll().has_value(); }, 20'000));
                    discovery.start();
                } },
        };
        rows[0].second();
        const auto threads = held("task");
        for (const auto &[name, scenario] : rows) {
            const RowName named(name);
            scenario(); // once for what GStreamer makes at first use and keeps
            QTRY_VERIFY((m_retirement->reap(), m_retirement->pending() == 0));
            const auto files = held("fd");
            const auto before = aliveObjects();
            scenario();
            QTRY_VERIFY((m_retirement->reap(), m_retirement->pending() == 0));
            const auto left = [&before](bool atRest) {
                auto alive = aliveObjects(atRest);
                std::erase_if(alive, [&](const auto &item) { return before.contains(item.first); });
                return alive;
            };
            if (!QTest::qWaitFor([&] { return left(false).empty(); }, 10'000)) {
                for (const auto &[object, description] : left(true)) {
                    QFAIL(qPrintable(description));
                }
            }
            QTRY_VERIFY(held("fd") <= files);
        }
        QTRY_VERIFY2(held("task") <= threads + 4, "threads stay"); // idle ones end by themselves
    }

private:
    void play(const MediaPtr &media, std::uint64_t frames = 3)
    {
        QVERIFY(
            pollUntil(*media, [&] { return media->frameCount() >= frames || !media->active(); }));
    }

    /// Refused at once, or told by the source itself on a machine too busy to know it yet.
    static void refused(const Scenario &action, bool atOnce = false)
    {
        const QString error = errorOf([&] { return action(), 0; });
        QVERIFY(atOnce ? !error.isEmpty()
                       : error.isEmpty() || error.startsWith(u"No se pudo iniciar "_s));
    }

    void capture(const char *opens)
    {
        const DeviceRef device
            = fakeDevice({ .deviceClass = "Audio/Source", .caps = "audio/x-raw", .opens = opens });
        AudioCapture capture(m_clock, *opens == '\0' ? nullptr : device.get());
        QTRY_VERIFY((capture.pull({}), capture.inputLevels().peak[0] > 0 || !capture.running()));
    }

    SystemClock m_clock;
    std::shared_ptr<Retirement> m_retirement = std::make_shared<Retirement>();
    MediaFactory m_factory { m_clock, m_retirement, { { "videotestsrc", {} } } };
};

NIMBARA_TEST(LeaksTest)
#include "leaks_test.moc"

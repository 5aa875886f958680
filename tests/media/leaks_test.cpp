#include "base/clock.h"
#include "base/error.h"
#include "media/capture/audio_capture.h"
#include "media/capture/devices.h"
#include "media/sources/media_factory.h"
#include "poll.h"
#include "support/clips.h"
#include "support/fake_device.h"
#include "support/test_registry.h"

#include <QDir>
#include <QTest>

#include <functional>
#include <map>

namespace nimbara::testing {

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

enum class Tell { Nothing, Description };

/// Every object of GStreamer that somebody still holds. A description reads the object, which a
/// thread that is about to end may be freeing: ask for it once all has come to rest.
std::map<gpointer, QString> aliveObjects(Tell tell = Tell::Nothing)
{
    GstStructure *info = nullptr;
    g_signal_emit_by_name(leakTracer(), "get-live-objects", &info);
    // The tracer names the objects without holding them; freeing its list would let them go, so it
    // stays.
    const GValue *list = gst_structure_get_value(info, "live-objects-list");
    std::map<gpointer, QString> alive;
    for (guint i = 0; i < gst_value_list_get_size(list); ++i) {
        const auto *entry = gst_value_get_structure(gst_value_list_get_value(list, i));
        const GValue *object = gst_structure_get_value(entry, "object");
        alive.emplace(g_value_peek_pointer(object),
            tell == Tell::Nothing
                ? QString()
                : QString::fromUtf8(GCharPtr(gst_structure_to_string(entry)).get()));
    }
    return alive;
}

/// How many files or threads the program holds: "fd", "task".
qsizetype held(const char *what)
{
    return QDir(QStringLiteral("/proc/self/") + QLatin1String(what))
        .entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot)
        .size();
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
        std::vector<std::tuple<const char *, Scenario>> rows;
        const auto add = [&](const char *name, const Scenario &scenario) {
            rows.emplace_back(name, scenario);
        };
        const auto media
            = [this](const QString &path) { play(m_factory.media(size, fileLocation(path))); };
        const auto camera = [this](const char *opens) {
            const DeviceRef device = fakeDevice({ .opens = opens });
            play(m_factory.camera(size, device.get()));
        };
        ClipRecipe recipe;
        recipe.seconds = 0.4;
        ClipRecipe portrait = recipe;
        portrait.rotate = 90;
        add("test bars", [this] { play(m_factory.testBars(size)); });
        add("screen", [this] { play(m_factory.screen(size)); });
        add("camera", [=] { camera("videotestsrc is-live=true"); });
        add("camera that ends", [=] { camera("videotestsrc num-buffers=2"); });
        add("camera that fails", [=] { camera("videotestsrc ! identity error-after=2"); });
        add("camera that cannot open", [=, this] {
            expectRefusal([&] { camera("filesrc location=/nonexistent ! rawvideoparse"); });
            expectError([&] { camera("audiotestsrc"); });
            expectError([&] { camera(""); });
        });
        add("file", [=] { media(clip(recipe)); });
        add("portrait file", [=] { media(clip(portrait)); });
        add("file that ends", [=, this] {
            const MediaPtr whole = m_factory.media(size, fileLocation(clip(recipe)));
            QVERIFY(pollUntil(*whole, [&] { return !whole->active(); }));
        });
        add("file dropped at once",
            [=, this] { (void)m_factory.media(size, fileLocation(clip(recipe))); });
        add("broken file", [=] { media(QStringLiteral("/etc/passwd")); });
        add("no file",
            [=, this] { expectRefusal([&] { media(QStringLiteral("/nonexistent")); }); });
        add("no server",
            [this] { play(m_factory.media(size, QStringLiteral("http://127.0.0.1:9/a.mp4"))); });
        add("missing components", [this] {
            for (const char *element :
                { "appsink", "audioresample", "videoscale", "videotestsrc" }) {
                const HiddenElement hidden(element);
                expectError([&] { (void)m_factory.testBars(size); });
            }
            const HiddenElement hidden("audioresample");
            expectError([&] { (void)AudioCapture(m_clock, nullptr); });
        });
        add("tone", [this] { capture(""); });
        add("microphone", [this] { capture("audiotestsrc is-live=true"); });
        add("microphone that fails", [this] { capture("audiotestsrc ! identity error-after=1"); });
        add("microphone that cannot open", [this] {
            expectRefusal([&] { capture("filesrc location=/nonexistent ! rawaudioparse"); });
            expectError([&] { capture("videotestsrc"); });
        });
        add("device search", [] {
            DeviceDiscovery discovery;
            discovery.start();
            QVERIFY(QTest::qWaitFor([&] { return discovery.poll().has_value(); }, 20'000));
            discovery.start();
        });
        std::get<1>(rows.front())();
        const auto threads = held("task");
        for (const auto &[name, scenario] : rows) {
            const RowName named(name);
            scenario(); // once for what GStreamer makes at first use and keeps
            const auto settled = [this] {
                m_retirement->reap();
                return m_retirement->pending() == 0;
            };
            QVERIFY(QTest::qWaitFor(settled, 20'000));
            const auto files = held("fd");
            const auto before = aliveObjects();
            scenario();
            QVERIFY(QTest::qWaitFor(settled, 20'000));
            const auto left = [&before](Tell tell) {
                auto alive = aliveObjects(tell);
                std::erase_if(alive, [&](const auto &item) { return before.contains(item.first); });
                return alive;
            };
            const bool clean = QTest::qWaitFor([&] { return left(Tell::Nothing).empty(); }, 10'000);
            QStringList names;
            if (!clean) {
                for (const auto &[object, description] : left(Tell::Description)) {
                    names << description;
                }
            }
            QVERIFY2(clean, qPrintable(names.join(QLatin1Char('\n'))));
            QTRY_VERIFY(held("fd") <= files);
        }
        QTRY_VERIFY2(held("task") <= threads + 4, "threads stay"); // idle ones end by themselves
    }

private:
    void play(const MediaPtr &media)
    {
        QVERIFY(pollUntil(*media, [&] { return media->frameCount() >= 3 || !media->active(); }));
    }

    static void expectError(const Scenario &action) { QVERIFY_EXCEPTION_THROWN(action(), Error); }

    /// Refused at once, or told by the source itself on a machine too busy to know it yet.
    static void expectRefusal(const Scenario &action)
    {
        try {
            action();
        } catch (const Error &error) {
            QVERIFY(error.text().startsWith(QStringLiteral("No se pudo iniciar ")));
        }
    }

    void capture(const char *opens)
    {
        const DeviceRef device
            = fakeDevice({ .deviceClass = "Audio/Source", .caps = "audio/x-raw", .opens = opens });
        AudioCapture capture(m_clock, *opens == '\0' ? nullptr : device.get());
        QVERIFY(QTest::qWaitFor(
            [&] {
                capture.pull({});
                return capture.inputLevels().peak[0] > 0 || !capture.running();
            },
            20'000));
    }

    SystemClock m_clock;
    std::shared_ptr<Retirement> m_retirement = std::make_shared<Retirement>();
    MediaFactory m_factory { m_clock, m_retirement, { { "videotestsrc", {} } } };
};

} // namespace nimbara::testing

using nimbara::testing::LeaksTest;
NIMBARA_TEST(LeaksTest)

#include "leaks_test.moc"

#include "output/encode/encoder_trial.h"
#include "output/probe.h"
#include "output/program_feed.h"
#include "output/sink/outputs.h"
#include "support/rtmp_peer.h"
#include "support/test_registry.h"

#include <atomic>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// What the "platform's encoder" of this program does, when it is made.
enum class Manner {
    Works,
    OpensSlowly,
    IsSlow,
    IsWrong,
    FailsAtOnce,
    FailsLate,
    SlowsDown,
    FallsSilent,
    NeverOpens,
};
std::atomic<Manner> manner = Manner::Works;
constexpr int late = 40; ///< pictures

struct Course {
    Manner manner;
    int pictures = 0;
};

GstPadProbeReturn misbehave(GstPad * /*pad*/, GstPadProbeInfo *info, gpointer data)
{
    auto &own = *static_cast<Course *>(data);
    const bool isLate = ++own.pictures > late;
    auto *buffer = GST_PAD_PROBE_INFO_BUFFER(info);
    if (own.manner == Manner::FailsAtOnce || (own.manner == Manner::FailsLate && isLate)) {
        gst_buffer_unref(buffer);
        GST_PAD_PROBE_INFO_FLOW_RETURN(info) = GST_FLOW_ERROR;
        return GST_PAD_PROBE_HANDLED;
    }
    if (own.manner == Manner::NeverOpens || (own.manner == Manner::FallsSilent && isLate)) {
        return GST_PAD_PROBE_DROP;
    }
    if (own.manner == Manner::IsSlow || (own.manner == Manner::SlowsDown && isLate)) {
        QThread::msleep(50);
    } else if (own.manner == Manner::OpensSlowly && own.pictures == 1) {
        QThread::msleep(1500);
    } else if (own.manner == Manner::IsWrong) {
        GST_PAD_PROBE_INFO_DATA(info) = buffer = gst_buffer_make_writable(buffer);
        gst_buffer_memset(buffer, 0, 100, gst_buffer_get_size(buffer) / 2);
    }
    return GST_PAD_PROBE_OK;
}

/// The portable encoder behind a name of the platform's, fed as that is.
void buildEncoder(GTypeInstance *instance, gpointer /*type*/)
{
    auto *bin = GST_BIN(instance);
    GstElement *convert = gst_element_factory_make("videoconvert", nullptr);
    GstElement *encoder = gst_element_factory_make("openh264enc", nullptr);
    g_object_set(encoder, "bitrate", 1'000'000U, "gop-size", 60U, nullptr);
    gst_bin_add_many(bin, convert, encoder, nullptr);
    gst_element_link(convert, encoder);
    const auto sink = PadRef::adopt(gst_element_get_static_pad(convert, "sink"));
    const auto source = PadRef::adopt(gst_element_get_static_pad(encoder, "src"));
    gst_pad_add_probe(sink.get(),
        GST_PAD_PROBE_TYPE_BUFFER,
        misbehave,
        new Course { manner },
        [](gpointer own) { delete static_cast<Course *>(own); });
    gst_element_add_pad(GST_ELEMENT(bin), gst_ghost_pad_new("sink", sink.get()));
    gst_element_add_pad(GST_ELEMENT(bin), gst_ghost_pad_new("src", source.get()));
}

void registerEncoder()
{
    static const GType type = g_type_register_static_simple(GST_TYPE_BIN,
        "TestPlatformEncoder",
        sizeof(GstBinClass),
        nullptr,
        sizeof(GstBin),
        buildEncoder,
        GTypeFlags {});
    gst_element_register(nullptr, "vah264enc", GST_RANK_NONE, type);
}

QString nameOf(const EncoderChoice &choice)
{
    return QString::fromLatin1(choice.factory);
}

const EncoderChoice &platformEncoder()
{
    const auto all = videoEncoders(true);
    return *std::ranges::find_if(all,
        [](const EncoderChoice &choice) { return nameOf(choice) == u"vah264enc"_s; });
}

bool trial(const EncoderChoice &choice, TrialTask task = {})
{
    task.size = { 320, 180 };
    return passesTrial(choice, task);
}

} // namespace

class PlatformEncoderTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { registerEncoder(); }

    void oneHasToShowWhatItDoes()
    {
        constexpr TrialTask usual;
        constexpr TrialTask brief { .limit = 300ms };
        for (const auto &[name, tried, task, passes] :
            { std::tuple { "works", Manner::Works, usual, true },
                { "opens slowly", Manner::OpensSlowly, usual, true },
                { "slow", Manner::IsSlow, usual, false },
                { "wrong", Manner::IsWrong, usual, false },
                { "fails", Manner::FailsAtOnce, brief, false } }) {
            const RowName named(name);
            manner = tried;
            QCOMPARE(trial(platformEncoder(), task), passes);
        }
        manner = Manner::IsSlow;
        QVERIFY(!passesTrial(platformEncoder())); // of the programs' size
    }

    void theOperatorIsToldWhichOneIsUsed()
    {
        manner = Manner::Works;
        H264Encoders encoders([](const EncoderChoice &choice) { return trial(choice); });
        QCOMPARE(nameOf(encoders.choice()), u"openh264enc"_s);
        encoders.tryOut();
        const auto told = [&] { return encoders.text().spanish(); };
        QCOMPARE(told(), u"Se prueba el codificador del equipo; mientras tanto, openh264enc"_s);
        QTRY_COMPARE((encoders.poll(), told()), u"Codifica el equipo: vah264enc"_s);
        QVERIFY(!encoders.poll());
        encoders.setAutomatic(false);
        QVERIFY(encoders.poll());
        QCOMPARE(told(), u"Codifica el programa: openh264enc"_s);
        encoders.setAutomatic(true);
        encoders.distrust(encoders.choice());
        QCOMPARE(told(), u"El codificador del equipo falló; se usa openh264enc"_s);

        H264Encoders others([](const EncoderChoice & /*choice*/) { return false; });
        others.tryOut();
        QTRY_COMPARE((others.poll(), others.text().spanish()),
            u"El codificador del equipo no pasó la prueba; se usa openh264enc"_s);
    }

    void aFailureAtWorkEndsNoOutput()
    {
        constexpr FrameSize small { 160, 90 };
        const RtmpPeer peer;
        const QTemporaryDir dir;
        for (const auto &[name, course] : { std::pair { "fails", Manner::FailsLate },
                 { "slows down", Manner::SlowsDown },
                 { "falls silent", Manner::FallsSilent },
                 { "never opens", Manner::NeverOpens } }) {
            const RowName named(name);
            manner = course;
            const QString key = QString::number(static_cast<int>(course));
            const QString file = dir.filePath(key + u".mkv"_s);
            Outputs outputs(std::make_shared<Retirement>());
            H264Encoders &encoders = outputs.encoders().h264();
            encoders = H264Encoders([](const EncoderChoice & /*choice*/) { return true; });
            encoders.tryOut();
            QTRY_VERIFY((encoders.poll(), &encoders.choice() == &platformEncoder()));
            outputs.destination(0).start(peer.rtmp(u"live"_s), key, small);
            outputs.recording().start(file, small);
            ProgramFeed feed(small);
            const auto push = [&] {
                const Tick tick = feed.next();
                const auto stopped = outputs.push(tick.frame, tick.block, tick.tNs);
                QThread::msleep(3);
                return stopped.destinations.empty() && !stopped.recording;
            };
            const auto ready = [&] {
                return outputs.recording().poll(),
                       outputs.destination(0).ready() && outputs.recording().ready();
            };
            const bool opens = course != Manner::NeverOpens;
            QTRY_VERIFY(!opens || ready());
            while (!encoders.hasFailed() && feed.count() < 1000) {
                QVERIFY(push());
            }
            QCOMPARE(nameOf(encoders.choice()), u"openh264enc"_s);
            QTRY_VERIFY((push(), ready()));
            const int failedAt = opens ? feed.count() : 0; // then their time begins after it
            const auto received = [&] { return probe(peer.recordedFile(key)).videoTimes; };
            for (int i = 0; i < 150; ++i) {
                QVERIFY(push() && feed.wait());
            }
            QTRY_VERIFY((push(), received().back() > (failedAt + 60) / 30.0));
            QVERIFY(received().size() > late + 60);
            outputs.stopStreams();
            outputs.recording().finish();
            QTRY_VERIFY((outputs.recording().poll(), !outputs.any()));
            QVERIFY(probe(file).videoTimes.back() > (failedAt + 60) / 30.0);
            QCOMPARE(decodeErrors(file), QByteArray());
        }
    }
};

NIMBARA_TEST(PlatformEncoderTest)
#include "platform_encoder_test.moc"

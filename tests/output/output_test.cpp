#include "base/error.h"
#include "output/encode/output.h"
#include "output/probe.h"
#include "output/program_feed.h"
#include "support/test_registry.h"

#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using namespace nimbara;
using namespace nimbara::testing;

namespace {

constexpr FrameSize small { 160, 90 };

/// The text of the error that building such an output throws; empty when it starts.
QString startError(FrameSize size, bool isStream, const QString &location, std::int32_t bitrate)
{
    try {
        const Output output(size.width, size.height, isStream, location, bitrate);
    } catch (const Error &error) {
        return error.text();
    }
    return {};
}

/// A factory that is missing while this lives.
class MissingFactory {
public:
    explicit MissingFactory(const char *name)
        : m_feature(
            GstRef<GstPluginFeature>::adopt(gst_registry_lookup_feature(gst_registry_get(), name)))
    {
        gst_registry_remove_feature(gst_registry_get(), m_feature.get());
    }
    Q_DISABLE_COPY_MOVE(MissingFactory)
    ~MissingFactory() { gst_registry_add_feature(gst_registry_get(), m_feature.get()); }

private:
    GstRef<GstPluginFeature> m_feature;
};

void push(Output &output, const Tick &tick)
{
    output.stamp(tick.tNs);
    output.pushVideo(tick.frame);
    output.pushAudio(tick.block);
    output.pollOutput();
}

bool waitStopped(Output &output)
{
    return QTest::qWaitFor(
        [&] {
            output.pollOutput();
            return !output.running();
        },
        20000);
}

} // namespace

class OutputTest : public QObject {
    Q_OBJECT
    QTemporaryDir m_dir;

private Q_SLOTS:
    void refusesWhatItCannotBuild_data()
    {
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("height");
        QTest::addColumn<int>("bitrate");
        QTest::addColumn<bool>("isStream");
        QTest::addColumn<QString>("location");
        QTest::addColumn<QString>("text");
        const auto file = m_dir.filePath(QStringLiteral("refused.webm"));
        const auto profile = QStringLiteral("Perfil de salida invalido");
        const auto rtmp = QStringLiteral("Destino debe usar RTMP o RTMPS");
        QTest::newRow("no width") << 0 << 180 << outputBitrate << false << file << profile;
        QTest::newRow("too wide") << 4097 << 180 << outputBitrate << false << file << profile;
        QTest::newRow("too high") << 320 << 4097 << outputBitrate << false << file << profile;
        QTest::newRow("low rate") << 320 << 180 << 499'999 << false << file << profile;
        QTest::newRow("high rate") << 320 << 180 << 20'000'001 << false << file << profile;
        QTest::newRow("http") << 320 << 180 << outputBitrate << true
                              << QStringLiteral("http://host/app/key") << rtmp;
        QTest::newRow("upper case")
            << 320 << 180 << outputBitrate << true << QStringLiteral("RTMP://host/app/key") << rtmp;
        QTest::newRow("no path") << 320 << 180 << outputBitrate << false << QString()
                                 << QStringLiteral("Selecciona archivo de grabacion");
        QTest::newRow("no such folder")
            << 320 << 180 << outputBitrate << false << QStringLiteral("/no/such/folder/a.webm")
            << QStringLiteral("No se pudo iniciar salida");
        QTest::newRow("a folder") << 320 << 180 << outputBitrate << false << m_dir.path()
                                  << QStringLiteral("No se pudo iniciar salida");
        QTest::newRow("no stream name")
            << 320 << 180 << outputBitrate << true << QStringLiteral("rtmp://host/secret-key")
            << QStringLiteral("No se pudo iniciar salida");
        QTest::newRow("slowest") << 16 << 16 << 500'000 << false << file << QString();
        QTest::newRow("fastest") << 320 << 180 << 20'000'000 << false << file << QString();
    }

    void refusesWhatItCannotBuild()
    {
        QFETCH(int, width);
        QFETCH(int, height);
        QFETCH(int, bitrate);
        QFETCH(bool, isStream);
        QFETCH(QString, location);
        QFETCH(QString, text);
        QCOMPARE(startError({ width, height }, isStream, location, bitrate), text);
    }

    void namesTheMissingComponent_data()
    {
        QTest::addColumn<bool>("isStream");
        for (const char *factory : { "vp8enc", "vorbisenc", "webmmux", "filesink" }) {
            QTest::newRow(factory) << false;
        }
        for (const char *factory : { "openh264enc", "voaacenc", "h264parse", "rtmp2sink" }) {
            QTest::newRow(factory) << true;
        }
    }

    void namesTheMissingComponent()
    {
        QFETCH(bool, isStream);
        const MissingFactory missing(QTest::currentDataTag());
        const QString location = isStream ? QStringLiteral("rtmp://127.0.0.1:1/app/key")
                                          : m_dir.filePath(QStringLiteral("missing.webm"));
        QCOMPARE(startError(small, isStream, location, outputBitrate),
            QStringLiteral("Componente no disponible: ") + QLatin1String(QTest::currentDataTag()));
    }

    void recordsEveryTick_data()
    {
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("height");
        QTest::addColumn<int>("stallMs");
        QTest::newRow("landscape") << 160 << 90 << 0;
        QTest::newRow("portrait, with a stall") << 90 << 160 << 1000;
    }

    void recordsEveryTick()
    {
        QFETCH(int, width);
        QFETCH(int, height);
        QFETCH(int, stallMs);
        const QString path = m_dir.filePath(QStringLiteral("grabación 1.webm"));
        Output output(width, height, false, path, outputBitrate);
        QTRY_VERIFY(output.ready());
        ProgramFeed feed({ width, height });
        for (int i = 0; i < 75; ++i) {
            push(output, feed.next());
            QVERIFY(feed.wait());
            feed.skip(i == 29 ? stallMs * 1'000'000LL : 0);
        }
        output.finish();
        QVERIFY(output.stopping() && output.running());
        push(output, feed.next()); // nothing is taken any more
        output.finish();
        QVERIFY(waitStopped(output));
        QVERIFY(output.finished() && output.error().isEmpty());

        const Probe found = probe(path);
        QCOMPARE(found.video, QStringLiteral("vp8 %1x%2").arg(width).arg(height));
        QCOMPARE(found.audio, QStringLiteral("vorbis 48000 2"));
        QCOMPARE(found.videoTimes.size(), 75U);
        const double stall = stallMs / 1000.0;
        for (std::size_t i = 0; i < found.videoTimes.size(); ++i) {
            const double due = static_cast<double>(i) * 0.033333 + (i >= 30 ? stall : 0);
            QVERIFY(std::abs(found.videoTimes[i] - due) < 0.0011);
        }
        QVERIFY(std::abs(found.duration - 2.5 - stall) < 0.06);
        for (std::size_t i = 1; i < found.audioTimes.size(); ++i) { // no hole, no step back
            const double step = found.audioTimes[i] - found.audioTimes[i - 1];
            QVERIFY2(step >= 0 && step < 0.03, qPrintable(QString::number(step)));
        }
        QVERIFY(std::abs(found.audioTimes.back() - 2.47 - stall) < 0.06);
        QCOMPARE(decodeErrors(path), QByteArray());
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY(file.readAll().contains("\x1C\x53\xBB\x6B")); // the index, for seeking
    }

    void aFullDiskStopsIt()
    {
        Output output(small.width, small.height, false, QStringLiteral("/dev/full"), outputBitrate);
        ProgramFeed feed(small);
        for (int i = 0; i < 300 && output.running(); ++i) {
            push(output, feed.next());
            QTest::qWait(1);
        }
        QVERIFY(waitStopped(output));
        QVERIFY(!output.finished());
        const QRegularExpression text(QStringLiteral(
            "^Fallo de salida \\(codigo \\d+\\)\\. Revisa destino, permisos y codecs\\.$"));
        QVERIFY2(text.match(output.error()).hasMatch(), qPrintable(output.error()));
    }
};

NIMBARA_TEST(OutputTest)
#include "output_test.moc"

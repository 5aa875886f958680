#include "base/error.h"
#include "output/encode/output.h"
#include "output/probe.h"
#include "output/program_feed.h"
#include "support/fake_device.h"
#include "support/test_registry.h"

#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

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
    void refusesWhatItCannotBuild()
    {
        struct Row {
            FrameSize size;
            std::int32_t bitrate;
            bool isStream;
            QString location;
            const char *text; ///< empty: it starts
        };
        constexpr FrameSize good { 320, 180 };
        const auto file = m_dir.filePath(QStringLiteral("refused.webm"));
        const char *profile = "Perfil de salida invalido";
        const char *scheme = "Destino debe usar RTMP o RTMPS";
        const char *refused = "No se pudo iniciar salida";
        for (const auto &[size, bitrate, isStream, location, text] :
            { Row { {}, 1'000'000, false, file, profile },
                { { 4097, 180 }, outputBitrate, false, file, profile },
                { { 320, 4097 }, outputBitrate, false, file, profile },
                { good, 499'999, false, file, profile },
                { good, 20'000'001, false, file, profile },
                { good, outputBitrate, true, u"http://host/app/key"_s, scheme },
                { good, outputBitrate, true, u"RTMP://host/app/key"_s, scheme },
                { good, outputBitrate, true, u"rtmp://host/secret-key"_s, refused },
                { good, outputBitrate, false, QString(), "Selecciona archivo de grabacion" },
                { good, outputBitrate, false, u"/no/such/folder/a.webm"_s, refused },
                { good, outputBitrate, false, m_dir.path(), refused },
                { { 16, 16 }, 500'000, false, file, "" },
                { good, 20'000'000, false, file, "" } }) {
            QCOMPARE(startError(size, isStream, location, bitrate), QLatin1String(text));
        }
    }

    void namesTheMissingComponent()
    {
        const auto file = m_dir.filePath(u"missing.webm"_s);
        for (const QByteArray &factory :
            QByteArray("vp8enc vorbisenc webmmux filesink openh264enc voaacenc h264parse rtmp2sink")
                .split(' ')) {
            const HiddenElement missing(factory);
            const auto error = [&](bool isStream, const QString &location) {
                return startError(small, isStream, location, outputBitrate);
            };
            const QString text = u"Componente no disponible: "_s + QLatin1String(factory);
            QVERIFY2(error(false, file) == text
                    || error(true, u"rtmp://127.0.0.1:1/app/key"_s) == text,
                factory);
        }
    }

    void recordsEveryTick()
    {
        const std::vector<std::tuple<const char *, int, int, int>> rows {
            { "landscape", 160, 90, 0 },
            { "portrait, with a stall", 90, 160, 1000 },
        };
        for (const auto &[name, width, height, stallMs] : rows) {
            const RowName named(name);
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
        const QString error = output.error().spanish();
        QVERIFY2(text.match(error).hasMatch(), qPrintable(error));
    }
};

NIMBARA_TEST(OutputTest)
#include "output_test.moc"

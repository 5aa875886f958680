#include "output/probe.h"
#include "output/program_feed.h"
#include "output/sink/outputs.h"
#include "support/test_registry.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace nimbara;
using namespace nimbara::testing;

namespace {

constexpr FrameSize small { 64, 36 };

} // namespace

class RecordingTest : public QObject {
    Q_OBJECT
    QTemporaryDir m_dir;

private Q_SLOTS:
    void goesThroughItsStates()
    {
        const auto retirement = std::make_shared<Retirement>();
        Outputs outputs(retirement);
        Recording &recording = outputs.recording();
        QVERIFY(!outputs.any());
        QCOMPARE(recordingButtonText(recording.state()), QStringLiteral("● Grabar"));
        recording.finish(); // nothing to finish

        const QString path = m_dir.filePath(QStringLiteral("states.webm"));
        recording.start(path, small);
        QVERIFY(outputs.any());
        QCOMPARE(recordingButtonText(recording.state()), QStringLiteral("■ Detener grabación"));
        QTRY_VERIFY(recording.ready());
        ProgramFeed feed(small);
        for (int i = 0; i < 10; ++i) {
            const Tick tick = feed.next();
            QVERIFY(!outputs.push(tick.frame, tick.block, tick.tNs).recording);
        }
        recording.finish();
        recording.finish();
        QCOMPARE(recordingButtonText(recording.state()), QStringLiteral("Finalizando..."));
        std::optional<Message> status;
        QTRY_VERIFY_WITH_TIMEOUT(status || (status = recording.poll()), 20000);
        QCOMPARE(*status, QStringLiteral("Grabación guardada correctamente"));
        QCOMPARE(recording.state(), RecordingState::idle);
        QVERIFY(!outputs.any() && !recording.poll());
        QCOMPARE(probe(path).video, QStringLiteral("vp8 64x36"));
        QTRY_COMPARE((retirement->reap(), retirement->pending()), 0U);
    }

    void tellsWhyItStopped()
    {
        Outputs outputs(std::make_shared<Retirement>());
        outputs.recording().start(m_dir.filePath(QStringLiteral("size.webm")), small);
        const Tick tick = ProgramFeed({ 36, 64 }).next();
        const auto stopped = outputs.push(tick.frame, tick.block, tick.tNs);
        QCOMPARE(stopped.recording, QStringLiteral("El formato cambio durante salida"));
        QVERIFY(stopped.destinations.empty());
        QCOMPARE(outputs.recording().state(), RecordingState::idle);
    }

    void survivesTheEndOfTheProcess()
    {
        const QString path = m_dir.filePath(QStringLiteral("killed.webm"));
        QProcess child;
        child.start(QStringLiteral(NIMBARA_RECORDER), { path });
        int ticks = 0;
        QTRY_VERIFY_WITH_TIMEOUT(
            [&] {
                while (child.canReadLine()) {
                    ticks = child.readLine().toInt();
                }
                return ticks >= 240; // 8 s of program
            }(),
            30000);
        child.kill();
        QVERIFY(child.waitForFinished());

        const Probe found = probe(path);
        const double recorded = ticks / 30.0;
        QVERIFY2(found.videoTimes.back() > recorded - 1.0, qPrintable(QString::number(recorded)));
        QVERIFY(found.audioTimes.back() > recorded - 1.0);
        QVERIFY(decodeErrors(path).count('\n') <= 1); // the last block may be cut short
    }
};

NIMBARA_TEST(RecordingTest)
#include "recording_test.moc"

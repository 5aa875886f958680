#pragma once

#include "base/clock.h"
#include "base/message.h"
#include "media/sources/retirement.h"
#include "output/sink/output.h"
#include "secrets/secret_store.h"
#include "studio/edit/stage.h"
#include "studio/outputs/line_verdict.h"
#include "studio/outputs/stream_desk.h"

#include <QObject>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace nimbara {

/// A test of the line before the service: noise, which takes the whole bit rate of the project, is
/// sent to all selected destinations at once for ten seconds, and what they take of it is measured
/// when the buffers on the way are full. It has an encoder of its own for a small picture.
///
/// What the operator has to know meanwhile and afterwards is `text`; a test that cannot begin is
/// told by `failed`. A stream that starts ends the test. Interface thread only, which never waits.
class LineTest : public QObject {
    Q_OBJECT
public:
    static constexpr std::int64_t connectUs = 15'000'000; ///< for all to take the stream
    static constexpr std::int64_t settleUs = 3'000'000; ///< in which the buffers fill
    static constexpr std::int64_t sendUs = 10'000'000; ///< of all

    /// All must outlive the test.
    LineTest(const Clock &clock,
        const Stage &stage,
        StreamDesk &streams,
        SecretStore &secrets,
        std::shared_ptr<Retirement> retirement);
    LineTest(const LineTest &) = delete;
    LineTest &operator=(const LineTest &) = delete;
    LineTest(LineTest &&) = delete;
    LineTest &operator=(LineTest &&) = delete;
    ~LineTest() override;

    /// The selected destinations on which the test is shown to whoever watches them: it takes the
    /// operator's consent. Empty: on none.
    [[nodiscard]] QStringList publicNames() const;

    /// Refused without a selected destination, and while a stream is on air: the test would take
    /// from its line.
    void start();
    void cancel();
    [[nodiscard]] bool isRunning() const { return m_phase != Phase::Idle; }
    /// What it does, or found; stays until the next test. Empty before the first.
    [[nodiscard]] const Message &text() const { return m_text; }
    /// Whether the line had room for all destinations in the last test; none when it did not come
    /// to its end, and when other destinations or another bit rate are chosen by now.
    [[nodiscard]] std::optional<bool> hadRoom() const;

    /// Call on every frame, with its scheduled time in ns from any fixed origin.
    void push(std::int64_t tNs);

Q_SIGNALS:
    void changed();
    void failed(const nimbara::Message &reason);

private:
    enum class Phase { Idle, Keys, Connecting, Sending };
    struct Subject {
        std::size_t slot = 0;
        QString key;
        LineReading reading;
        std::unique_ptr<Output> output; ///< none: not begun, or ended
        std::uint64_t bytesBefore = 0; ///< when measuring began
        std::uint64_t bytesNow = 0;
        std::uint64_t droppedBefore = 0;
    };
    [[nodiscard]] QList<std::size_t> selected() const;
    void checkStart() const;
    void nextKey();
    void connectAll();
    void connectTo(Subject &subject);
    void pushTo(Subject &subject, std::int64_t tNs);
    static void noteEnd(LineReading &reading, const Output &output);
    void advance(std::int64_t nowUs);
    void beginMeasuring();
    void conclude();
    void end(const Message &text);
    void say(const Message &text);
    void streamChanged(std::size_t slot);

    const Clock &m_clock;
    const Stage &m_stage;
    StreamDesk &m_streams;
    SecretStore &m_secrets;
    std::shared_ptr<Retirement> m_retirement;
    EncoderPool m_encoders; ///< not polled: nothing of the test gives way
    Phase m_phase = Phase::Idle;
    std::uint64_t m_run = 0; ///< a key that comes for another run comes too late
    int m_kbits = 0; ///< of the run
    std::vector<Subject> m_subjects;
    std::vector<FramePtr> m_noise;
    std::size_t m_frame = 0;
    std::int64_t m_phaseUs = 0; ///< when it began
    bool m_measures = false;
    std::int64_t m_measuredUs = 0; ///< when that began
    Message m_text;
    std::optional<bool> m_hadRoom;
    QList<std::size_t> m_tested; ///< slots of the run
};

} // namespace nimbara

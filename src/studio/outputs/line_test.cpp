#include "studio/outputs/line_test.h"

#include "base/error.h"
#include "base/log.h"
#include "base/secret_texts.h"
#include "output/mix/program_audio.h"

#include <QPointer>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

namespace nimbara {

namespace {

constexpr double bitsPerPixel = 3.5; ///< of noise: an encoder can make it more or less
constexpr std::size_t noiseFrames = 5; ///< no encoder looks back as far
constexpr double longWait = 1e9; ///< ns of pictures: not all was taken

/// In which noise takes the bit rate, neither more nor less.
FrameSize noiseSize(int kbits)
{
    const double pixels = kbits * 1000 / 30.0 / bitsPerPixel;
    const auto width = static_cast<std::int32_t>(std::lround(std::sqrt(pixels * 16 / 9) / 32)) * 32;
    return { width, width * 9 / 16 };
}

/// Xorshift: eight bytes at a time, for it is the interface thread that waits.
FramePtr noise(FrameSize size, std::uint64_t seed)
{
    auto frame = std::make_shared<Frame>(size.width, size.height);
    std::uint64_t state = seed * 0x9e3779b97f4a7c15U;
    for (std::size_t at = 0; at + sizeof state <= frame->pixels.size(); at += sizeof state) {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        std::memcpy(&frame->pixels[at], &state, sizeof state);
    }
    makeOpaque(*frame);
    return frame;
}

} // namespace

LineTest::LineTest(const Clock &clock,
    const Stage &stage,
    StreamDesk &streams,
    SecretStore &secrets,
    std::shared_ptr<Retirement> retirement)
    : m_clock(clock)
    , m_stage(stage)
    , m_streams(streams)
    , m_secrets(secrets)
    , m_retirement(std::move(retirement))
    , m_encoders(m_retirement)
{
    connect(&streams, &StreamDesk::changed, this, &LineTest::streamChanged);
}

LineTest::~LineTest()
{
    for (Subject &subject : m_subjects) {
        m_retirement->retire(std::move(subject.output));
    }
}

QList<std::size_t> LineTest::selected() const
{
    QList<std::size_t> slots;
    for (std::size_t slot = 0; slot < destinationCount; ++slot) {
        if (m_streams.isSelected(slot)) {
            slots << slot;
        }
    }
    return slots;
}

std::optional<bool> LineTest::hadRoom() const
{
    const bool isStill = m_tested == selected() && m_kbits == m_stage.document.project().videoKbits;
    return isStill ? m_hadRoom : std::nullopt;
}

QStringList LineTest::publicNames() const
{
    QStringList names;
    for (const std::size_t slot : selected()) {
        if (!testRoad(m_streams.server(slot), QString())) {
            names << QString::fromUtf8(destinationPresets().at(slot).name);
        }
    }
    return names;
}

void LineTest::checkStart() const
{
    if (selected().isEmpty()) {
        throw Error("Marca los destinos que quieres probar.");
    }
    for (std::size_t slot = 0; slot < destinationCount; ++slot) {
        if (m_streams.isOnAir(slot) || m_streams.isWaiting(slot)) {
            throw Error("Hay una transmisión al aire: la prueba le quitaría conexión.");
        }
    }
    for (const std::size_t slot : selected()) {
        static_cast<void>(checkedServer(m_streams.server(slot)));
    }
}

void LineTest::start()
{
    if (isRunning()) {
        return;
    }
    try {
        checkStart();
    } catch (const std::exception &error) {
        Q_EMIT failed(errorMessage(error));
        return;
    }
    ++m_run;
    m_hadRoom.reset();
    m_tested = selected();
    m_kbits = m_stage.document.project().videoKbits;
    m_phase = Phase::Keys;
    m_subjects.clear();
    for (const std::size_t slot : m_tested) {
        Subject subject;
        subject.slot = slot;
        subject.key = m_streams.key(slot);
        subject.reading.name = QString::fromUtf8(destinationPresets().at(slot).name);
        m_subjects.push_back(std::move(subject));
    }
    say("Conectando con los destinos…");
    nextKey();
}

/// The store may wait for the operator; those that are typed are there.
void LineTest::nextKey()
{
    const auto missing = std::find_if(m_subjects.begin(), m_subjects.end(), [](const auto &each) {
        return each.key.trimmed().isEmpty();
    });
    if (missing == m_subjects.end()) {
        connectAll();
        return;
    }
    m_secrets.readSecret(secret_account::stream(missing->reading.name),
        [self = QPointer(this), run = m_run, place = missing - m_subjects.begin()](
            const QString &key) {
            if (!self || self->m_run != run || self->m_phase != Phase::Keys) {
                return;
            }
            if (key.trimmed().isEmpty()) {
                self->end({});
                Q_EMIT self->failed("Clave de transmisión inválida");
                return;
            }
            self->m_subjects.at(static_cast<std::size_t>(place)).key = key;
            self->nextKey();
        });
}

void LineTest::connectAll()
{
    while (m_noise.size() < noiseFrames) {
        m_noise.push_back(noise(noiseSize(m_kbits), m_noise.size() + 1));
    }
    try {
        for (Subject &subject : m_subjects) {
            connectTo(subject);
        }
    } catch (const std::exception &error) {
        end({});
        Q_EMIT failed(errorMessage(error));
        return;
    }
    m_phase = Phase::Connecting;
    m_phaseUs = m_clock.monotonicUs();
    m_measures = false;
}

void LineTest::connectTo(Subject &subject)
{
    const QString server = checkedServer(m_streams.server(subject.slot));
    const QString key = checkedKey(subject.key);
    hideStreamKey(key);
    logLine(QStringLiteral("Line test: %1").arg(withoutSecrets(server)));
    const FrameSize size = noiseSize(m_kbits);
    subject.output = std::make_unique<Output>(size.width,
        size.height,
        true,
        testRoad(server, key).value_or(streamLocation(server, key)),
        m_kbits * 1000,
        &m_encoders);
}

void LineTest::push(std::int64_t tNs)
{
    if (m_phase != Phase::Connecting && m_phase != Phase::Sending) {
        return;
    }
    m_frame = (m_frame + 1) % m_noise.size();
    for (Subject &subject : m_subjects) {
        if (subject.output) {
            pushTo(subject, tNs);
        }
    }
    advance(m_clock.monotonicUs());
}

void LineTest::pushTo(Subject &subject, std::int64_t tNs)
{
    static constexpr ProgramBlock silence {};
    subject.output->stamp(tNs);
    subject.output->pushVideo(m_noise.at(m_frame));
    subject.output->pushAudio(silence);
    subject.output->pollOutput();
    const OutletFigures figures = subject.output->figures();
    subject.bytesNow = figures.bytes;
    subject.reading.wasReached = subject.reading.wasReached || subject.output->accepted();
    subject.reading.tookAll = m_measures && figures.dropped == subject.droppedBefore
        && static_cast<double>(figures.waitingNs) < longWait;
    if (!subject.output->running()) {
        noteEnd(subject.reading, *subject.output);
        m_retirement->retire(std::move(subject.output));
    }
}

/// One that took nothing more tells of the line; one that its server closed, of the key or the
/// server.
void LineTest::noteEnd(LineReading &reading, const Output &output)
{
    reading.tookAll = false;
    if (!reading.wasReached || output.failure() != OutputFailure::Stalled) {
        reading.wasReached = false;
        reading.failure = output.error();
    }
}

void LineTest::advance(std::int64_t nowUs)
{
    const std::int64_t passed = nowUs - m_phaseUs;
    const bool isAny = std::any_of(m_subjects.begin(), m_subjects.end(), [](const Subject &each) {
        return each.output != nullptr;
    });
    if (!isAny) {
        conclude();
        return;
    }
    if (m_phase == Phase::Connecting) {
        const bool isSettled = std::all_of(m_subjects.begin(),
            m_subjects.end(),
            [](const Subject &subject) { return !subject.output || subject.reading.wasReached; });
        if (isSettled || passed >= connectUs) {
            m_phase = Phase::Sending;
            m_phaseUs = nowUs;
        }
        return;
    }
    if (!m_measures && passed >= settleUs) {
        beginMeasuring();
    }
    if (passed >= sendUs) {
        conclude();
        return;
    }
    say({ "Probando la conexión: faltan %1 s",
        { Message::verbatim(QString::number((sendUs - passed + 999'999) / 1'000'000)) } });
}

void LineTest::beginMeasuring()
{
    m_measures = true;
    m_measuredUs = m_clock.monotonicUs();
    for (Subject &subject : m_subjects) {
        subject.bytesBefore = subject.bytesNow;
        subject.droppedBefore = subject.output ? subject.output->figures().dropped : 0;
    }
}

void LineTest::conclude()
{
    const double seconds = static_cast<double>(m_clock.monotonicUs() - m_measuredUs) * 1e-6;
    std::vector<LineReading> readings;
    for (const Subject &subject : m_subjects) {
        LineReading reading = subject.reading;
        const std::uint64_t taken
            = subject.bytesNow - std::min(subject.bytesBefore, subject.bytesNow);
        const auto bits = static_cast<double>(taken) * 8;
        reading.bitsPerSecond
            = m_measures && seconds > 0 ? static_cast<std::int64_t>(bits / seconds) : 0;
        if (!reading.wasReached && reading.failure.isEmpty()) {
            reading.failure = "No se pudo conectar a tiempo";
        }
        readings.push_back(std::move(reading));
    }
    m_hadRoom = roomFor(readings, m_kbits) == static_cast<int>(readings.size());
    end(lineVerdict(readings, m_kbits));
    logLine(m_text.spanish());
}

void LineTest::end(const Message &text)
{
    m_phase = Phase::Idle;
    for (Subject &subject : m_subjects) {
        m_retirement->retire(std::move(subject.output));
    }
    m_subjects.clear();
    m_noise.clear();
    m_text = text;
    Q_EMIT changed();
}

void LineTest::say(const Message &text)
{
    if (!(text == m_text)) {
        m_text = text;
        Q_EMIT changed();
    }
}

void LineTest::cancel()
{
    if (isRunning()) {
        end("Prueba de conexión cancelada.");
    }
}

/// What the service needs goes first.
void LineTest::streamChanged(std::size_t slot)
{
    if (isRunning() && (m_streams.isOnAir(slot) || m_streams.isWaiting(slot))) {
        cancel();
    }
}

} // namespace nimbara

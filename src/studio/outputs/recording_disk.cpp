#include "studio/outputs/recording_disk.h"

#include <QDir>

#include <algorithm>
#include <utility>

namespace nimbara {

namespace {

constexpr std::int64_t freshUs = 2'000'000; // an answer
constexpr int healthyGrowths = 5;

} // namespace

RecordingDisk::RecordingDisk(const Clock &clock,
    const Recording &recording,
    DiskWatch::Look look,
    DiskSync sync)
    : m_clock(clock)
    , m_recording(recording)
    , m_watch(std::move(look), std::move(sync))
{
    // Most often the disk of the videos' folder, too, of which nobody is asked here.
    m_watch.watch(QDir::homePath() + QLatin1Char('/'));
}

std::optional<std::int64_t> RecordingDisk::freeBytes() const
{
    return m_clock.monotonicUs() - m_answeredUs < answerUs ? m_freeBytes : std::nullopt;
}

void RecordingDisk::begin(const QString &path)
{
    m_watch.watch(path);
    m_begunUs = m_clock.monotonicUs();
    m_answeredUs = m_begunUs;
    m_fileBytes = -1;
    m_grownUs = m_begunUs;
    m_growths = 0;
    m_takenUs = m_begunUs;
    m_wasLate = false;
}

void RecordingDisk::awaitEnd()
{
    m_grownUs = m_clock.monotonicUs();
}

void RecordingDisk::awaitEnd(const QString &path)
{
    m_watch.watch(path);
    m_fileBytes = -1;
    awaitEnd();
}

/// A disk that takes what is written is at work, however late it answers.
void RecordingDisk::noteTaken()
{
    const std::uint64_t taken = m_recording.figures().value_or(OutletFigures {}).bytes;
    const bool isEarly = m_recording.state() == RecordingState::recording && !m_recording.ready();
    if (std::exchange(m_takenBytes, taken) != taken || isEarly) {
        m_takenUs = m_clock.monotonicUs();
    }
}

RecordingDisk::Trouble RecordingDisk::look()
{
    const std::int64_t now = m_clock.monotonicUs();
    if (const auto sample = m_watch.poll(now)) {
        note(*sample);
        if (m_freeBytes && *m_freeBytes < reserveBytes) {
            return Trouble::Full;
        }
        return isStuck(sample->fileBytes, now) ? Trouble::Stuck : Trouble::None;
    }
    // The first answers come before the file is open.
    if (m_recording.isOpening() && now - m_begunUs >= answerUs) {
        return Trouble::Unopened;
    }
    return isHung(now) ? Trouble::Hung : Trouble::None;
}

bool RecordingDisk::hangsAtEnd()
{
    const std::int64_t now = m_clock.monotonicUs();
    const auto sample = m_watch.poll(now);
    if (sample && std::exchange(m_fileBytes, sample->fileBytes) != sample->fileBytes) {
        m_grownUs = now;
    }
    return now - std::max(m_grownUs, m_takenUs) >= answerUs;
}

void RecordingDisk::lookAtRoom()
{
    m_watch.rest();
    if (const auto sample = m_watch.poll(m_clock.monotonicUs())) {
        note(*sample);
    }
}

void RecordingDisk::note(const DiskWatch::Sample &sample)
{
    m_answeredUs = m_clock.monotonicUs();
    m_freeBytes = sample.freeBytes >= 0 ? std::optional(sample.freeBytes) : std::nullopt;
}

bool RecordingDisk::isHung(std::int64_t now) const
{
    return m_watch.isLooking() && m_recording.ready()
        && now - std::max(m_answeredUs, m_takenUs) >= growthUs;
}

bool RecordingDisk::isStuck(std::int64_t fileBytes, std::int64_t now)
{
    if (std::exchange(m_fileBytes, fileBytes) != fileBytes) {
        ++m_growths;
        m_grownUs = now;
    }
    const bool isNoFile = fileBytes < 0 && m_growths == 0; // a device, of which nothing is known
    if (isNoFile || !m_recording.ready()) {
        m_grownUs = now;
    }
    return now - m_grownUs >= growthUs;
}

bool RecordingDisk::turnsLate()
{
    const std::int64_t now = m_clock.monotonicUs();
    const std::int64_t late = std::max(now - m_answeredUs, m_watch.syncingUs(now));
    return m_recording.ready() && late >= answerUs && !std::exchange(m_wasLate, true);
}

bool RecordingDisk::isAtHand() const
{
    return m_clock.monotonicUs() - m_answeredUs < freshUs;
}

bool RecordingDisk::hasGrown() const
{
    return m_growths > healthyGrowths;
}

} // namespace nimbara

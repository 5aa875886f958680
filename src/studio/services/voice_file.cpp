#include "studio/services/voice_file.h"

#include "output/sink/voice_track.h"
#include "signal/audio_block.h"
#include "studio/outputs/disk_sync.h"
#include "studio/outputs/recording_desk.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

namespace nimbara {

namespace {

constexpr int duePolls = 15; ///< half a second of frames is written at once
constexpr std::size_t maxValues = std::size_t { 60 } * audioRate; ///< that a slow disk may owe
constexpr std::chrono::milliseconds endPatience { 5000 }; ///< with a file that does not grow

} // namespace

/// What the background task knows. One task at a time.
class VoiceFile::Disk {
public:
    explicit Disk(std::chrono::milliseconds retry)
        : m_retry(retry)
    {
    }

    /// Returns whether nothing has failed anew.
    bool write(const std::deque<Piece> &pieces)
    {
        bool all = true;
        m_isWhole = true;
        for (const Piece &piece : pieces) {
            try {
                all = take(piece) && all;
            } catch (const std::exception &) {
                letGo();
                all = false;
            }
        }
        if (m_track && m_track->isWell()) {
            bringToDisk(m_path);
        }
        m_isWhole = m_isWhole && all;
        return all;
    }

    /// Nothing of the last write was lost. While none is under way.
    [[nodiscard]] bool isWhole() const { return m_isWhole; }

private:
    using SteadyClock = std::chrono::steady_clock;

    bool take(const Piece &piece)
    {
        bool all = true;
        if (piece.stem != m_stem) { // what tells the end may be lost
            all = end();
            m_stem = piece.stem;
            m_retryAt = {};
        }
        if (m_stem.isEmpty()) {
            return all;
        }
        if (!m_track && SteadyClock::now() < m_retryAt) {
            m_isWhole = m_isWhole && piece.values.empty();
            return all; // of that failure is told
        }
        if (!m_track) {
            const QString wanted = m_stem + QStringLiteral(".opus");
            QDir().mkpath(QFileInfo(wanted).path());
            m_path = RecordingDesk::freePath(wanted);
            m_track.emplace(m_path);
        }
        m_track->push(piece.atMs, piece.values);
        m_hasClip = m_hasClip || !piece.values.empty();
        if (!m_track->isWell()) {
            letGo();
            return false;
        }
        return all;
    }

    bool end()
    {
        if (!m_track) {
            return true;
        }
        const bool ended = m_track->isWell() && m_track->finish(endPatience);
        m_track.reset();
        if (ended) {
            bringToDisk(m_path);
        }
        removeIdle();
        return ended;
    }

    /// After a failure, without waiting for a disk that takes nothing.
    void letGo()
    {
        m_track.reset();
        m_retryAt = SteadyClock::now() + m_retry;
        removeIdle();
    }

    /// A file of no use does not stay.
    void removeIdle()
    {
        const QString path = std::exchange(m_path, {});
        const bool hadClip = std::exchange(m_hasClip, false);
        if (!path.isEmpty() && (!hadClip || QFileInfo(path).size() == 0)) {
            QFile::remove(path);
        }
    }

    const std::chrono::milliseconds m_retry;
    QString m_stem; ///< of the last piece
    QString m_path; ///< of the track
    std::optional<VoiceTrack> m_track;
    bool m_hasClip = false;
    SteadyClock::time_point m_retryAt; ///< not before then
    bool m_isWhole = true;
};

VoiceFile::VoiceFile(std::chrono::milliseconds retry)
    : m_disk(std::make_shared<Disk>(retry))
{
}

void VoiceFile::follow(const QString &stem)
{
    if (stem == m_stem) {
        return;
    }
    if (std::exchange(m_hasTrack, false)) {
        m_waiting.push_back({});
    }
    m_stem = stem;
    if (!stem.isEmpty()) {
        m_folder = QFileInfo(stem).path();
        tellAnew();
    }
}

void VoiceFile::push(std::int64_t atMs, std::span<const float> block)
{
    if (m_stem.isEmpty() || block.empty()) {
        return;
    }
    if (m_waitingValues > maxValues) { // the disk hangs: silence will stand for it
        tellFailure();
        return;
    }
    m_hasTrack = true;
    Piece piece { m_stem, atMs, {} };
    for (std::size_t i = 0; i < block.size(); i += audioChannels) {
        const float value = std::clamp(block[i], -1.0F, 1.0F);
        piece.values.push_back(static_cast<std::int16_t>(std::lrint(value * 32767.0F)));
    }
    m_waitingValues += piece.values.size();
    m_waiting.push_back(std::move(piece));
}

void VoiceFile::pass(std::int64_t atMs, bool isWanted)
{
    if (m_stem.isEmpty() || (!m_hasTrack && !isWanted)) {
        return;
    }
    m_hasTrack = true;
    if (!m_waiting.empty() && m_waiting.back().stem == m_stem && m_waiting.back().values.empty()) {
        m_waiting.back().atMs = atMs;
    } else {
        m_waiting.push_back({ m_stem, atMs, {} });
    }
}

void VoiceFile::poll()
{
    takeResult();
    m_waitingPolls += m_waiting.empty() ? 0 : 1;
    if (m_waitingPolls >= duePolls) {
        writeWaiting();
    }
}

ServiceFile::Writing VoiceFile::takeWaiting()
{
    if (m_waiting.empty()) {
        return {};
    }
    m_waitingValues = 0;
    m_waitingPolls = 0;
    return [disk = m_disk, pieces = std::exchange(m_waiting, {})] { return disk->write(pieces); };
}

bool VoiceFile::finish(std::chrono::milliseconds patience)
{
    follow({});
    return writeRest(patience) && m_disk->isWhole();
}

} // namespace nimbara

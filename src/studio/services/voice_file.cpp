#include "studio/services/voice_file.h"

#include "output/sink/voice_track.h"
#include "signal/audio_block.h"
#include "studio/outputs/disk_sync.h"
#include "studio/outputs/recording_desk.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <cmath>
#include <optional>
#include <system_error>
#include <utility>

namespace nimbara {

namespace {

constexpr int duePolls = 15; ///< half a second of frames is written at once
constexpr std::size_t maxValues = std::size_t { 60 } * audioRate; ///< that a slow disk may owe
constexpr std::chrono::milliseconds endPatience { 5000 }; ///< for the last page

} // namespace

/// What the background task knows. One task at a time.
class VoiceFile::Disk {
public:
    /// Returns whether all was written.
    bool write(const std::deque<Piece> &pieces)
    {
        bool all = true;
        for (const Piece &piece : pieces) {
            try {
                all = take(piece) && all;
            } catch (const std::exception &) {
                all = false;
            }
        }
        if (m_track) {
            bringToDisk(m_path);
        }
        return all;
    }

private:
    bool take(const Piece &piece)
    {
        if (piece.stem.isEmpty()) {
            const bool ended = !m_track || m_track->finish(endPatience);
            m_track.reset();
            bringToDisk(m_path);
            return ended;
        }
        if (!m_track) {
            const QString wanted = piece.stem + QStringLiteral(".opus");
            QDir().mkpath(QFileInfo(wanted).path());
            m_path = RecordingDesk::freePath(wanted);
            m_track.emplace(m_path);
        }
        m_track->push(piece.atMs, piece.values);
        return m_track->isWell();
    }

    QString m_path;
    std::optional<VoiceTrack> m_track;
};

VoiceFile::VoiceFile()
    : m_disk(std::make_shared<Disk>())
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
        m_hasFailed = false;
    }
}

void VoiceFile::push(std::int64_t atMs, std::span<const float> block)
{
    if (m_stem.isEmpty() || block.empty()) {
        return;
    }
    if (m_waitingValues > maxValues) {
        return; // the disk hangs: silence will stand for it
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

void VoiceFile::poll()
{
    m_waitingPolls += m_waiting.empty() ? 0 : 1;
    if (m_writing.isUnderWay() || m_waitingPolls >= duePolls) {
        startWriting();
    }
}

void VoiceFile::startWriting()
{
    if (m_writing.isUnderWay()) {
        if (!m_writing.isReady()) {
            return; // a disk that hangs holds up what follows, and nothing else
        }
        if (!m_writing.take() && !std::exchange(m_hasFailed, true)) {
            Q_EMIT failed(Message("No se pueden escribir los archivos de la traducción en %1",
                { Message::verbatim(m_folder) }));
        }
    }
    if (m_waiting.empty()) {
        return;
    }
    m_waitingValues = 0;
    m_waitingPolls = 0;
    try {
        m_writing.start(
            [disk = m_disk, pieces = std::exchange(m_waiting, {})] { return disk->write(pieces); });
    } catch (const std::system_error &) {
        m_waiting.clear(); // no thread left: silence stands for it
    }
}

bool VoiceFile::finish(std::chrono::milliseconds patience)
{
    follow({});
    const auto until = std::chrono::steady_clock::now() + patience;
    while (m_writing.isUnderWay() || !m_waiting.empty()) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            until - std::chrono::steady_clock::now());
        if (m_writing.isUnderWay() && (left.count() <= 0 || !m_writing.isReady(left))) {
            return false;
        }
        startWriting();
    }
    return true;
}

} // namespace nimbara

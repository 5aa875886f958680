#pragma once

#include "studio/services/service_file.h"

#include <QString>

#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <span>
#include <vector>

namespace nimbara {

/// The synthetic voice of a service on file: an audio track of its own (Opus) beside the captions,
/// on their clock, with silence where nothing is spoken. One is left only where there is a clip;
/// what has been heard for two seconds is on the disk, by a background task. A track that fails is
/// let go, and another one begins beside it when the disk takes it, on the same clock; what a disk
/// that hangs or is full has lost is told once, and silent there. Nothing that exists is
/// overwritten. Interface thread only, which never waits but at the end.
class VoiceFile final : public ServiceFile {
    Q_OBJECT
public:
    /// A disk that failed is tried again after so long.
    static constexpr std::chrono::milliseconds retryAfter { 30'000 };

    explicit VoiceFile(std::chrono::milliseconds retry = retryAfter);

    /// Where the next blocks belong: a path without its end; empty: nowhere. Another one ends the
    /// track before.
    void follow(const QString &stem);
    /// A block of the voice, interleaved stereo at 48000 Hz, that is heard at `atMs` of the track.
    /// Its left channel is kept; an empty one is none.
    void push(std::int64_t atMs, std::span<const float> block);
    /// It is silent up to there. A track that there is, or where one is wanted, grows with the
    /// time: hours of silence are no work when a clip comes.
    void pass(std::int64_t atMs, bool isWanted);

    /// Writes what is due, twice a second. Call on each frame.
    void poll();
    /// Writes the rest and ends the track within the patience, before the program ends; returns
    /// whether all of it is written.
    bool finish(std::chrono::milliseconds patience);

private:
    class Disk;
    /// Sound that is whole and belongs together.
    struct Piece {
        QString stem; ///< empty: the track ends
        std::int64_t atMs = 0;
        std::vector<std::int16_t> values; ///< none: silence up to there
    };
    Writing takeWaiting() override;
    [[nodiscard]] QString folder() const override { return m_folder; }

    QString m_stem;
    QString m_folder; ///< of the last one
    bool m_hasTrack = false; ///< of this stem
    std::deque<Piece> m_waiting;
    std::size_t m_waitingValues = 0;
    int m_waitingPolls = 0; ///< since anything waits
    std::shared_ptr<Disk> m_disk;
};

} // namespace nimbara

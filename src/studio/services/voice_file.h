#pragma once

#include "base/background_task.h"
#include "base/message.h"

#include <QObject>
#include <QString>

#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <span>
#include <vector>

namespace nimbara {

/// The synthetic voice of a service on file: an audio track of its own (Opus) beside the captions,
/// on their clock, with silence where nothing is spoken. It begins with the first clip; what has
/// been heard for two seconds is on the disk, by a background task. Nothing that exists is
/// overwritten. Interface thread only, which never waits.
class VoiceFile : public QObject {
    Q_OBJECT
public:
    VoiceFile();

    /// Where the next blocks belong: a path without its end; empty: nowhere. Another one ends the
    /// track before.
    void follow(const QString &stem);
    /// A block of the voice, interleaved stereo at 48000 Hz, that is heard at `atMs` of the track.
    /// Its left channel is kept; an empty one is none.
    void push(std::int64_t atMs, std::span<const float> block);

    /// Writes what is due. Call on each frame.
    void poll();
    /// Writes the rest and ends the track, before the program ends; returns whether that is done by
    /// then.
    bool finish(std::chrono::milliseconds patience);

Q_SIGNALS:
    /// The track cannot be written; told once for each.
    void failed(const nimbara::Message &reason);

private:
    class Disk;
    /// Sound that is whole and belongs together.
    struct Piece {
        QString stem; ///< empty: the track ends
        std::int64_t atMs = 0;
        std::vector<std::int16_t> values;
    };
    void startWriting();

    QString m_stem;
    QString m_folder; ///< of the last one
    bool m_hasTrack = false; ///< of this stem
    bool m_hasFailed = false;
    std::deque<Piece> m_waiting;
    std::size_t m_waitingValues = 0;
    int m_waitingPolls = 0; ///< since anything waits
    std::shared_ptr<Disk> m_disk;
    BackgroundTask<bool> m_writing;
};

} // namespace nimbara

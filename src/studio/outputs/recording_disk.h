#pragma once

#include "base/clock.h"
#include "output/sink/recording.h"
#include "studio/outputs/disk_watch.h"

#include <QString>

#include <cstdint>
#include <optional>

namespace nimbara {

/// How the disk of the recording does: whether it opens its file, takes what it is given, lets the
/// file grow and answers, and how much is free on it. It only looks: what follows from a trouble is
/// `RecordingDesk`'s to decide. Interface thread only, which never waits for the disk.
class RecordingDisk {
public:
    static constexpr std::int64_t reserveBytes = 500'000'000; ///< left free on the disk
    static constexpr std::int64_t growthUs = 5'000'000; ///< in which a file has to grow
    static constexpr std::int64_t answerUs = 15'000'000; ///< in which a disk has to answer

    /// What keeps the present file from being written.
    enum class Trouble {
        None,
        Full, ///< less is left than `reserveBytes`
        Unopened, ///< its disk has not opened it in time
        Hung, ///< its disk neither answers nor takes anything
        Stuck, ///< its disk answers, but it does not grow
    };

    /// `clock` and `recording` must outlive it. `look` and `sync`: on background tasks. Before the
    /// first file the operator's own disk is looked at.
    RecordingDisk(const Clock &clock,
        const Recording &recording,
        DiskWatch::Look look,
        DiskSync sync);

    /// The recording goes into this file from now on, which its disk is to open.
    void begin(const QString &path);
    /// The file is given nothing more, and is finished.
    void awaitEnd();
    /// So is this one, in place of the file that was begun last.
    void awaitEnd(const QString &path);

    /// Counts what the file was given. Call on every run, before anything else is asked.
    void noteTaken();
    /// Call on every run while the file is written.
    [[nodiscard]] Trouble look();
    /// The same while the file is finished: whether that is given up.
    [[nodiscard]] bool hangsAtEnd();
    /// The same while nothing is written: looks at the room for the next file.
    void lookAtRoom();

    /// Once for each file: what was written is long on its way to the disk. The file is not lost,
    /// but not safe either.
    [[nodiscard]] bool turnsLate();
    /// It answered just now, and would open another file, too.
    [[nodiscard]] bool isAtHand() const;
    /// The present file grew several times: more than its header, which is no sign of a disk that
    /// works.
    [[nodiscard]] bool hasGrown() const;
    /// Bytes that are free; none while unknown.
    [[nodiscard]] std::optional<std::int64_t> freeBytes() const;

private:
    void note(const DiskWatch::Sample &sample);
    [[nodiscard]] bool isHung(std::int64_t now) const;
    [[nodiscard]] bool isStuck(std::int64_t fileBytes, std::int64_t now);

    const Clock &m_clock;
    const Recording &m_recording;
    DiskWatch m_watch;
    std::int64_t m_begunUs = 0; ///< the present file
    std::int64_t m_answeredUs = 0; ///< the disk, last
    std::int64_t m_fileBytes = -1; ///< when it was looked at last; −1: there was none
    std::int64_t m_grownUs = 0; ///< last
    int m_growths = 0; ///< times that the present file was seen to have grown
    std::uint64_t m_takenBytes = 0; ///< that the present file was given
    std::int64_t m_takenUs = 0; ///< the last of them
    bool m_wasLate = false; ///< for the present file
    std::optional<std::int64_t> m_freeBytes;
};

} // namespace nimbara

#pragma once

#include "base/clock.h"
#include "base/message.h"
#include "output/sink/outputs.h"
#include "studio/edit/stage.h"
#include "studio/outputs/disk_watch.h"
#include "studio/outputs/recording_journal.h"

#include <QObject>
#include <QString>

#include <cstdint>
#include <memory>
#include <optional>

namespace nimbara {

/// What is wanted of the recording: its file and parts, the pause, and what is done when its disk
/// fills up or takes nothing more. Nothing that exists is ever overwritten. Interface thread only,
/// which never waits.
class RecordingDesk : public QObject {
    Q_OBJECT
public:
    static constexpr std::int64_t reserveBytes = 500'000'000; ///< left free on the disk
    static constexpr std::int64_t growthUs = 5'000'000; ///< in which a file has to grow
    static constexpr std::int64_t answerUs = 15'000'000; ///< in which a disk has to answer

    /// All must outlive the desk. `journalFolder`: see `RecordingJournal`.
    RecordingDesk(const Clock &clock,
        Outputs &outputs,
        const Stage &stage,
        const QString &journalFolder,
        DiskWatch::Look disk = DiskWatch::lookAtDisk);

    /// Records into the file, or beside it under another number when there is one already. Throws
    /// `Error`. Call it only when neither recording nor paused.
    void start(const QString &path);
    /// Ends the recording, also one that is paused.
    void finish();
    /// Finishes the file; `resume` goes on in the next part. Throws `Error` when that cannot be
    /// opened; it stays paused.
    void pause();
    void resume();
    [[nodiscard]] bool isPaused() const { return m_isPaused; }
    /// Recording or paused: `finish` has something to end.
    [[nodiscard]] bool isActive() const;

    /// The recording goes on in another part after so many minutes; 0: it does not.
    void setPartMinutes(int minutes);
    [[nodiscard]] int partMinutes() const { return m_partMinutes; }

    /// Call on every run of the frame clock.
    void poll();
    /// The recording ended by itself, cleanly or not.
    void ended(bool cleanly);

    /// Of the pictures, as the project wants them.
    [[nodiscard]] std::int64_t videoBitsPerSecond() const
    {
        return std::int64_t { m_stage.document.project().videoKbits } * 1000;
    }
    /// The file that is being written, or was last.
    [[nodiscard]] const QString &path() const { return m_path; }
    /// Free on its disk; none while nothing is recorded, or unknown.
    [[nodiscard]] std::optional<std::int64_t> freeBytes() const { return m_freeBytes; }

    /// `path`, or the first of "name 2", "name 3"… beside it that is free.
    [[nodiscard]] static QString freePath(const QString &path);

Q_SIGNALS:
    /// What its buttons do.
    void changed();
    void said(const nimbara::Message &text);
    /// The operator must not miss it.
    void alarmed(const nimbara::Message &text);

private:
    void open(const QString &path);
    void follow(const QString &path);
    void nextPart();
    void judge(const DiskWatch::Sample &sample);
    void judgeGrowth(std::int64_t fileBytes);
    void goOnInAnotherFile();
    void finishFile();
    void settleLastPart();
    void fail(const Message &reason);

    const Clock &m_clock;
    Outputs &m_outputs;
    const Stage &m_stage;
    RecordingJournal m_journal;
    std::unique_ptr<RecordingJournal::Entry> m_entry; ///< of the present file
    std::unique_ptr<RecordingJournal::Entry> m_lastEntry; ///< of the part before it
    DiskWatch m_disk;
    QString m_firstPath; ///< whose name the parts take, with a number
    QString m_path;
    int m_partMinutes = 0;
    bool m_isPaused = false;
    std::int64_t m_partStartedUs = 0;
    QString m_lastPath; ///< of the part before it
    int m_stuckFiles = 0; ///< in a row that did not grow
    int m_growths = 0; ///< times that the present file was seen to have grown
    std::int64_t m_fileBytes = -1;
    std::int64_t m_grownUs = 0;
    std::optional<std::int64_t> m_freeBytes;
};

} // namespace nimbara

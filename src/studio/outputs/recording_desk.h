#pragma once

#include "base/background_task.h"
#include "base/clock.h"
#include "base/message.h"
#include "output/sink/outputs.h"
#include "studio/edit/stage.h"
#include "studio/outputs/recording_disk.h"
#include "studio/outputs/recording_journal.h"

#include <QObject>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <memory>
#include <optional>

namespace nimbara {

/// What is wanted of the recording: which file is written, its parts, the pause, and what is done
/// when its disk is in trouble (`RecordingDisk`). Nothing that exists is ever overwritten.
/// Interface thread only, which never waits: a disk that is well opens its file within the call,
/// and one that takes longer opens it behind the programs, until it is given up after
/// `RecordingDisk::answerUs`.
class RecordingDesk : public QObject {
    Q_OBJECT
public:
    /// All must outlive the desk. `journalFolder`: see `RecordingJournal`. `sync`: on background
    /// tasks.
    RecordingDesk(const Clock &clock,
        Outputs &outputs,
        const Stage &stage,
        const QString &journalFolder,
        DiskWatch::Look disk = DiskWatch::lookAtDisk,
        DiskSync sync = bringToDisk);

    /// Records into the file, or beside it under another number when there is one already. Throws
    /// `Error`, or tells by `alarmed` what comes late. Call it only when neither recording nor
    /// paused.
    void start(const QString &path);
    /// Ends the recording, also one that is paused.
    void finish();
    /// Finishes the file; `resume` goes on in the next part, as soon as that is done. Throws as
    /// `start` when it cannot be opened; it stays paused, also when its disk refuses it late.
    void pause();
    void resume();
    /// Paused by the operator, also while it is on its way to the next file.
    [[nodiscard]] bool isPaused() const { return m_isPaused; }
    /// On its way to a file that its disk has not opened yet: no picture is written.
    [[nodiscard]] bool isOpening() const;
    /// Its pictures go into a file.
    [[nodiscard]] bool isWriting() const;
    /// Recording, paused or on its way to its file: `finish` has something to end.
    [[nodiscard]] bool isActive() const;

    /// The recording goes on in another part after so many minutes; 0: it does not.
    void setPartMinutes(int minutes);
    [[nodiscard]] int partMinutes() const { return m_partMinutes; }

    /// Call on every run of the frame clock.
    void poll();
    /// The recording ended by itself, cleanly or not.
    void ended(bool cleanly);
    /// What the operator reads of a file that was lost: that the recording stopped, never began or
    /// stays paused.
    [[nodiscard]] Message lossText(const Message &reason) const;

    /// Of the pictures, as the project wants them.
    [[nodiscard]] std::int64_t videoBitsPerSecond() const
    {
        return std::int64_t { m_stage.document.project().videoKbits } * 1000;
    }
    /// The file that is being written, or was last.
    [[nodiscard]] const QString &path() const { return m_path; }
    /// Free on its disk, or on that of the operator's videos before the first; none while unknown.
    [[nodiscard]] std::optional<std::int64_t> freeBytes() const { return m_disk.freeBytes(); }

    /// `path`, or the first of "name 2", "name 3"… beside it that is free and none of `left`. Asks
    /// the disk: for a background task.
    [[nodiscard]] static QString freePath(const QString &path, const QStringList &left = {});

Q_SIGNALS:
    /// What its buttons do.
    void changed();
    void said(const nimbara::Message &text);
    /// The operator must not miss it.
    void alarmed(const nimbara::Message &text);
    /// What was told so holds no more.
    void settled(const nimbara::Message &text);

private:
    /// What the next file is for.
    enum class Step {
        None, ///< none is looked for
        Start,
        Resume,
        Part, ///< the present one goes on until it is there
        Beside, ///< of one that did not grow
    };
    void begin(Step step);
    void look();
    void pollStep();
    void goOnIn(const QString &path);
    void pollOpened();
    void tellOpened(Step step);
    void openPart(const QString &path);
    void callOff();
    void callOffPart();
    void leaveBehind(const QString &path);
    void refuse(const Message &reason);
    void open(const QString &path);
    void follow(const QString &path);
    void pollDisk();
    void pollEnd();
    [[nodiscard]] bool isPartDue() const;
    void startDuePart();
    void followPart();
    void refusePart(const Message &reason);
    void closeOnFullDisk();
    void leaveStuckFile(const Message &reason);
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
    RecordingDisk m_disk; ///< of the present file
    QString m_firstPath; ///< whose name the parts take, with a number
    QString m_path;
    int m_partMinutes = 0;
    bool m_isPaused = false;
    bool m_wantsMore = false; ///< to go on once the file before is finished
    QStringList m_left; ///< files that were given up, which a late disk may still open or delete
    BackgroundTask<QString> m_naming; ///< finds the free name for the step
    Step m_step = Step::None;
    Step m_begun = Step::None; ///< what the present file is for, until its disk has opened it
    std::int64_t m_askedUs = 0; ///< for that name, or for the next part
    QString m_nextPath; ///< of the part that is being opened
    std::int64_t m_partStartedUs = 0;
    QString m_lastPath; ///< of the part before it
    int m_stuckFiles = 0; ///< in a row that did not grow
};

} // namespace nimbara

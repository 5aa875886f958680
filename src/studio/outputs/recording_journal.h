#pragma once

#include "base/background_task.h"
#include "base/message.h"
#include "studio/outputs/disk_sync.h"

#include <QString>

#include <atomic>
#include <memory>
#include <vector>

namespace nimbara {

/// Which recordings are being written, so that the next start finds those that a crash or a power
/// cut left unfinished. Each has a file "<digest of its path>.recording" in the folder, which holds
/// the path, and beside it a lock for as long as this program writes it. Files are written on
/// background tasks. Interface thread only, which waits at the end alone.
class RecordingJournal {
public:
    /// `folder` empty: nothing is kept.
    explicit RecordingJournal(QString folder, DiskSync sync = bringToDisk);
    RecordingJournal(const RecordingJournal &) = delete;
    RecordingJournal &operator=(const RecordingJournal &) = delete;
    RecordingJournal(RecordingJournal &&) = delete;
    RecordingJournal &operator=(RecordingJournal &&) = delete;
    /// Waits for what is on its way to its disk, but no longer than a few seconds. After the
    /// entries.
    ~RecordingJournal();

    class Page;
    /// A recording that is written into. Forgotten when it was finished, not when this goes.
    class Entry {
    public:
        Entry(std::shared_ptr<Page> page, std::shared_ptr<std::atomic<int>> tasks);
        Entry(const Entry &) = delete;
        Entry &operator=(const Entry &) = delete;
        Entry(Entry &&) = delete;
        Entry &operator=(Entry &&) = delete;
        ~Entry();
        /// Its file is whole. With the end of the entry it is forgotten once that is on its disk,
        /// on a background task: what a power cut takes until then is mended at the next start.
        void finished() { m_isFinished = true; }

    private:
        std::shared_ptr<Page> m_page;
        std::shared_ptr<std::atomic<int>> m_tasks;
        bool m_isFinished = false;
    };
    /// Where the folder cannot be written to, or the path is another writer's, nothing is kept of
    /// it; the recording goes on.
    [[nodiscard]] std::unique_ptr<Entry> begin(const QString &path) const;

    /// Mends what other runs left behind, on a background task: each is written anew beside itself,
    /// whole and with an index, and then takes its own place. What was finished all the same stays
    /// as it is. What lies on a disk that is not there now, or too full for it, waits for another
    /// start. Call once.
    void mendUnfinished();
    /// What came of it, once.
    std::vector<Message> poll();

private:
    QString m_folder;
    DiskSync m_sync;
    std::shared_ptr<std::atomic<int>> m_tasks; ///< of all entries, that are not done
    BackgroundTask<std::vector<Message>> m_mending;
};

} // namespace nimbara

#pragma once

#include "base/background_task.h"
#include "base/message.h"

#include <QLockFile>
#include <QString>
#include <QStringList>

#include <memory>
#include <vector>

namespace nimbara {

/// Which recordings are being written, so that the next start finds those that a crash or a power
/// cut left unfinished. Each has a file "<digest of its path>.recording" in the folder, which holds
/// the path, and beside it a lock for as long as this program writes it. Interface thread only.
class RecordingJournal {
public:
    /// Empty: nothing is kept.
    explicit RecordingJournal(QString folder);

    /// A recording that is written into. Forgotten when it was finished, not when this goes.
    class Entry {
    public:
        explicit Entry(const QString &stem);
        void finished();
        [[nodiscard]] bool isLocked() const { return m_isLocked; }

    private:
        QString m_file;
        QLockFile m_lock;
        bool m_isLocked = false;
    };
    /// None when the folder cannot be written to or the path is another writer's; the recording
    /// goes on.
    [[nodiscard]] std::unique_ptr<Entry> begin(const QString &path) const;

    /// Mends what other runs left behind, on a background task: each is written anew beside itself,
    /// whole and with an index, and then takes its own place. What lies on a disk that is not there
    /// now, or too full for it, waits for another start. Call once.
    void mendUnfinished();
    /// What came of it, once.
    std::vector<Message> poll();

private:
    QString m_folder;
    BackgroundTask<std::vector<Message>> m_mending;
};

} // namespace nimbara

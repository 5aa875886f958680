#include "studio/outputs/recording_journal.h"

#include "base/error.h"
#include "base/log.h"
#include "output/sink/finished_file.h"
#include "output/sink/remux.h"

#include <QCryptographicHash>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QStorageInfo>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <thread>
#include <utility>

namespace nimbara {

namespace {

const auto recordingSuffix = QStringLiteral(".recording");
const auto lockSuffix = QStringLiteral(".lock");
constexpr std::chrono::milliseconds farewell { 2000 }; ///< with a disk that does not answer
constexpr std::chrono::milliseconds glance { 5 };
constexpr std::int64_t roomLeft = 1'000'000'000; ///< bytes that a new recording must still have

std::filesystem::path nativePath(const QString &path)
{
    return { path.toStdU16String() };
}

/// The original stays until the new one is whole and on the disk.
Message mend(const QString &path)
{
    const QString name = QFileInfo(path).fileName();
    const QString whole = path + QStringLiteral(".mending");
    try {
        remux(path, whole);
        if (QFileInfo(whole).size() * 10 < QFileInfo(path).size() * 9) {
            throw Error(QStringLiteral("Fallo de salida"));
        }
        bringToDisk(whole);
        std::filesystem::rename(nativePath(whole), nativePath(path));
        bringToDisk(QFileInfo(path).path());
        return { "Grabación interrumpida reparada: %1", { Message::verbatim(name) } };
    } catch (const std::exception &error) {
        QFile::remove(whole);
        logLine(QStringLiteral("Mending a recording: ") + errorMessage(error).spanish());
        return { "No se pudo reparar la grabación interrumpida %1; el archivo queda como está.",
            { Message::verbatim(name) } };
    }
}

/// The recording that the journal's file names; none when its writer lives or it is gone.
std::optional<Message> mendEntry(const QString &file)
{
    QLockFile lock(file.chopped(recordingSuffix.size()) + lockSuffix);
    lock.setStaleLockTime(0);
    if (!lock.tryLock()) {
        return std::nullopt;
    }
    QFile journal(file);
    const QString path
        = journal.open(QIODevice::ReadOnly) ? QString::fromUtf8(journal.readAll()) : QString();
    const QFileInfo recording(path);
    if (!path.isEmpty() && !QFileInfo(recording.path()).isDir()) {
        return std::nullopt; // its disk may be back another time
    }
    std::optional<Message> told;
    // The end of the program does not wait for a disk that takes long with a whole recording.
    if (recording.size() > 0 && !isFinishedRecording(path)) {
        const QStorageInfo disk(recording.path());
        if (disk.isValid() && disk.bytesAvailable() < recording.size() + roomLeft) {
            return Message("No hay sitio en el disco para reparar la grabación interrumpida %1; se "
                           "intentará en el próximo inicio.",
                { Message::verbatim(recording.fileName()) });
        }
        told = mend(path);
    }
    journal.remove();
    return told;
}

std::vector<Message> mendAll(const QString &folder)
{
    std::vector<Message> told;
    const QDir dir(folder);
    for (const QString &name : dir.entryList({ QLatin1Char('*') + recordingSuffix }, QDir::Files)) {
        if (const auto each = mendEntry(dir.filePath(name))) {
            told.push_back(*each);
        }
    }
    return told;
}

} // namespace

/// One recording's file and its lock, for background tasks: `write`, then `leave`.
class RecordingJournal::Page {
public:
    Page(const QString &folder, const QString &path, DiskSync sync)
        : m_folder(folder)
        , m_sync(std::move(sync))
        , m_text(QFileInfo(path).absoluteFilePath().toUtf8())
        , m_stem(folder + QLatin1Char('/')
              + QString::fromLatin1(
                  QCryptographicHash::hash(m_text, QCryptographicHash::Sha1).toHex()))
        , m_lock(m_stem + lockSuffix)
    {
        m_lock.setStaleLockTime(0);
    }

    void write()
    {
        // Without the lock another start would take the file for one that was left.
        if (QDir().mkpath(m_folder) && m_lock.tryLock()) {
            QFile file(m_stem + recordingSuffix);
            if (file.open(QIODevice::WriteOnly) && file.write(m_text) == m_text.size()) {
                file.close();
                bringToDisk(file.fileName()); // a power cut must not take what tells of it
                bringToDisk(m_folder);
            }
        }
        skip();
    }

    /// Nobody writes.
    void skip()
    {
        m_isWritten = true;
        m_isWritten.notify_all();
    }

    /// Waits for the writing, and for the disk of a recording that is finished.
    void leave(bool isFinished)
    {
        m_isWritten.wait(false);
        if (isFinished && m_lock.isLocked()) {
            const QString recording = QString::fromUtf8(m_text);
            m_sync(recording);
            m_sync(QFileInfo(recording).path());
            QFile::remove(m_stem + recordingSuffix);
        }
        m_lock.unlock();
    }

private:
    QString m_folder;
    DiskSync m_sync;
    QByteArray m_text;
    QString m_stem;
    QLockFile m_lock;
    std::atomic<bool> m_isWritten { false };
};

namespace {

/// Runs the work behind, and counts it until it is done; false when the system has no thread left.
template <typename Work>
bool runBehind(const std::shared_ptr<std::atomic<int>> &tasks, const Work &work)
{
    ++*tasks;
    const bool isBegun = BackgroundTask<bool>().tryStart([tasks, work] {
        work();
        --*tasks;
        return true;
    });
    *tasks -= isBegun ? 0 : 1;
    return isBegun;
}

} // namespace

RecordingJournal::RecordingJournal(QString folder, DiskSync sync)
    : m_folder(std::move(folder))
    , m_sync(std::move(sync))
    , m_tasks(std::make_shared<std::atomic<int>>(0))
{
}

RecordingJournal::~RecordingJournal()
{
    const QDeadlineTimer deadline(farewell);
    while (*m_tasks > 0 && !deadline.hasExpired()) {
        std::this_thread::sleep_for(glance);
    }
}

RecordingJournal::Entry::Entry(std::shared_ptr<Page> page, std::shared_ptr<std::atomic<int>> tasks)
    : m_page(std::move(page))
    , m_tasks(std::move(tasks))
{
    if (!runBehind(m_tasks, [page = m_page] { page->write(); })) {
        m_page->skip();
    }
}

/// Without a thread its file stays, and the next start looks at a recording that is whole.
RecordingJournal::Entry::~Entry()
{
    runBehind(m_tasks, [page = m_page, whole = m_isFinished] { page->leave(whole); });
}

std::unique_ptr<RecordingJournal::Entry> RecordingJournal::begin(const QString &path) const
{
    if (m_folder.isEmpty()) {
        return nullptr;
    }
    return std::make_unique<Entry>(std::make_shared<Page>(m_folder, path, m_sync), m_tasks);
}

void RecordingJournal::mendUnfinished()
{
    if (!m_folder.isEmpty()) {
        m_mending.tryStart([folder = m_folder] { return mendAll(folder); });
    }
}

std::vector<Message> RecordingJournal::poll()
{
    return m_mending.isReady() ? m_mending.take() : std::vector<Message>();
}

} // namespace nimbara

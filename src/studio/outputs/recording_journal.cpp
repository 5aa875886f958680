#include "studio/outputs/recording_journal.h"

#include "base/error.h"
#include "base/log.h"
#include "output/sink/remux.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUuid>

#include <filesystem>
#include <optional>

namespace nimbara {

namespace {

const auto recordingSuffix = QStringLiteral(".recording");
const auto lockSuffix = QStringLiteral(".lock");

std::filesystem::path nativePath(const QString &path)
{
    return std::filesystem::path(path.toStdU16String());
}

/// The original stays until the new one is whole.
Message mend(const QString &path)
{
    const QString name = QFileInfo(path).fileName();
    const QString whole = path + QStringLiteral(".mending");
    try {
        remux(path, whole);
        std::filesystem::rename(nativePath(whole), nativePath(path));
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
    std::optional<Message> told;
    if (QFileInfo(path).size() > 0) {
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

RecordingJournal::RecordingJournal(QString folder)
    : m_folder(std::move(folder))
{
}

RecordingJournal::Entry::Entry(const QString &stem)
    : m_file(stem + recordingSuffix)
    , m_lock(stem + lockSuffix)
{
    m_lock.setStaleLockTime(0);
    m_lock.tryLock();
}

void RecordingJournal::Entry::finished()
{
    QFile::remove(m_file);
}

std::unique_ptr<RecordingJournal::Entry> RecordingJournal::begin(const QString &path) const
{
    if (m_folder.isEmpty() || !QDir().mkpath(m_folder)) {
        return nullptr;
    }
    const QString stem = m_folder + QLatin1Char('/') + QUuid::createUuid().toString(QUuid::Id128);
    auto entry = std::make_unique<Entry>(stem);
    QFile file(stem + recordingSuffix);
    const QByteArray text = QFileInfo(path).absoluteFilePath().toUtf8();
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size()) {
        return nullptr;
    }
    return entry;
}

void RecordingJournal::mendUnfinished()
{
    if (!m_folder.isEmpty()) {
        m_mending.start([folder = m_folder] { return mendAll(folder); });
    }
}

std::vector<Message> RecordingJournal::poll()
{
    return m_mending.isReady() ? m_mending.take() : std::vector<Message>();
}

} // namespace nimbara

#include "bible/verse_search.h"

#include "base/log.h"

#include <QDir>
#include <QFile>

#include <utility>

namespace bible {

namespace {

const QString fileName = QStringLiteral("verses.sqlite");

} // namespace

VerseSearch::VerseSearch(QString folder, QFuture<void> ready)
    : m_folder(std::move(folder))
    , m_ready(std::move(ready))
{
    m_thread.setMaxThreadCount(1);
    m_thread.setExpiryTimeout(-1);
    if (!m_folder.isEmpty()) {
        m_thread.start([this] { open(); });
    }
}

VerseSearch::~VerseSearch()
{
    m_stopped = true;
    m_thread.clear();
    m_thread.waitForDone();
}

void VerseSearch::find(const QString &words, qsizetype most, Receiver receiver)
{
    const std::uint64_t asked = ++m_newest;
    if (words.isEmpty()) {
        return;
    }
    m_thread.start([this, words, most, asked, receiver = std::move(receiver)] {
        if (asked != m_newest || m_stopped) {
            return;
        }
        const QList<FoundVerse> found = search(words, most);
        QMetaObject::invokeMethod(
            this,
            [this, asked, found, receiver] {
                if (asked == m_newest) {
                    receiver(found);
                }
            },
            Qt::QueuedConnection);
    });
}

void VerseSearch::renew()
{
    m_thread.start([this] {
        if (m_index && m_index->bibles() == allBibles()) {
            return;
        }
        const bool isWanted = m_index != nullptr || !m_folder.isEmpty();
        m_index.reset();
        m_hopeless = false;
        if (isWanted) {
            open();
        }
    });
}

QList<FoundVerse> VerseSearch::search(const QString &words, qsizetype most)
{
    for (int attempt = 0; attempt < 2 && open(); ++attempt) {
        try {
            return m_index->find(words, most);
        } catch (const SqliteError &error) {
            nimbara::logLine(QStringLiteral("verses: ") + QString::fromUtf8(error.what()));
            m_index.reset();
            if (!m_folder.isEmpty()) {
                QFile::remove(QDir(m_folder).filePath(fileName));
            }
        }
    }
    return {};
}

bool VerseSearch::open()
{
    if (m_index || m_hopeless || m_stopped) {
        return m_index != nullptr;
    }
    m_ready.waitForFinished();
    const QString path = QDir(m_folder).filePath(fileName);
    if (!m_folder.isEmpty() && QDir().mkpath(m_folder)) {
        try {
            m_index = std::make_unique<VerseIndex>(path);
            return true;
        } catch (const SqliteError &) {
            makeAt(path); // the first time, and when it is damaged
        }
    }
    m_hopeless = !m_index && !makeAt(m_elsewhere.filePath(fileName)) && !m_stopped;
    return m_index != nullptr;
}

bool VerseSearch::makeAt(const QString &path)
{
    try {
        VerseIndex::make(path, [this] { return m_stopped.load(); });
        m_index = std::make_unique<VerseIndex>(path);
        return true;
    } catch (const SqliteError &error) {
        nimbara::logLine(QStringLiteral("verses: ") + QString::fromUtf8(error.what()));
        return false;
    }
}

} // namespace bible

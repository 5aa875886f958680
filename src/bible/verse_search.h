#pragma once

#include "bible/verse_index.h"

#include <QFuture>
#include <QList>
#include <QObject>
#include <QString>
#include <QTemporaryDir>
#include <QThreadPool>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>

namespace bible {

/// Searches for verses by their words on a thread of its own. The index stands in the cache folder;
/// one that is missing or damaged is made anew, there or, where nothing can be written, in a
/// folder of its own that goes with the search. Interface thread only, which never waits, but at
/// the end for the rest of one search.
class VerseSearch : public QObject {
    Q_OBJECT
public:
    /// Begins to open or make the index of all Bibles, once they are there (`ready`). `folder`: of
    /// the cache; it is made. Without one, the index is made with the first search.
    explicit VerseSearch(QString folder, QFuture<void> ready = prepare());
    ~VerseSearch() override;
    VerseSearch(const VerseSearch &) = delete;
    VerseSearch &operator=(const VerseSearch &) = delete;
    VerseSearch(VerseSearch &&) = delete;
    VerseSearch &operator=(VerseSearch &&) = delete;

    using Receiver = std::function<void(const QList<FoundVerse> &found)>;

    /// Hands the verses over later, at most so many of them. A newer search takes the place of one
    /// that is not done: that one's receiver is never called. Without words that is all.
    void find(const QString &words, qsizetype most, Receiver receiver);

    /// Other Bibles may be there now: makes the index anew if so.
    void renew();

private:
    /// On the other thread.
    [[nodiscard]] QList<FoundVerse> search(const QString &words, qsizetype most);
    bool open();
    bool makeAt(const QString &path);

    const QString m_folder;
    QFuture<void> m_ready;
    std::atomic<bool> m_stopped = false;
    std::atomic<std::uint64_t> m_newest = 0;
    std::unique_ptr<VerseIndex> m_index; ///< of the other thread
    QTemporaryDir m_elsewhere; ///< where the cache cannot be written
    bool m_hopeless = false; ///< it cannot be made: nothing is found
    QThreadPool m_thread;
};

} // namespace bible

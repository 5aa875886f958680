#pragma once

#include <QFuture>
#include <QFutureWatcher>
#include <QObject>

#include <utility>

namespace nimbara {

/// Calls `work` on the receiver's thread once the future has finished: at once where it has. Any
/// number of them may wait for one future, of which `QFuture::then` keeps only the last. Nothing is
/// called once the receiver has gone.
template <typename Work>
void whenFinished(const QFuture<void> &future, QObject *receiver, Work work)
{
    if (future.isFinished()) {
        work();
        return;
    }
    auto *watcher = new QFutureWatcher<void>(receiver);
    QObject::connect(watcher,
        &QFutureWatcher<void>::finished,
        receiver,
        [watcher, work = std::move(work)] {
            watcher->deleteLater();
            work();
        });
    watcher->setFuture(future);
}

} // namespace nimbara

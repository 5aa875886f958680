#pragma once

#include "base/background_task.h"
#include "base/message.h"

#include <QObject>
#include <QString>

#include <chrono>
#include <functional>

namespace nimbara {

/// Files of a service that grow while it runs. What is to be written waits until the write before
/// is back, so that a disk that hangs holds up what follows and nothing else. Interface thread
/// only, which never waits but at the end.
class ServiceFile : public QObject {
    Q_OBJECT
Q_SIGNALS:
    /// They cannot be written; told once until `tellAnew`.
    void failed(const nimbara::Message &reason);

protected:
    /// Writes on a background task and tells whether all was written.
    using Writing = std::function<bool()>;

    /// Hands over what waits; empty: nothing does.
    virtual Writing takeWaiting() = 0;
    /// Where the files lie, for the operator.
    [[nodiscard]] virtual QString folder() const = 0;

    void tellAnew() { m_hasFailed = false; }
    /// They cannot be written, and what comes now is lost.
    void tellFailure();
    /// Tells of a write that is back.
    void takeResult();
    [[nodiscard]] bool isWriting() const { return m_writing.isUnderWay(); }
    /// Begins to write what waits, unless something is being written.
    void writeWaiting();
    /// Writes all that waits, within the patience. Returns whether nothing is being written or
    /// waits for it any more, well or not.
    bool writeRest(std::chrono::milliseconds patience);

private:
    Writing m_next; ///< taken, and not begun
    BackgroundTask<bool> m_writing;
    bool m_hasFailed = false;
};

} // namespace nimbara

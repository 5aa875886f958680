#pragma once

#include <QByteArray>
#include <QLockFile>
#include <QString>
#include <QStringList>

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

/// Recovery copies on the disk: "<id>.recovery", and "<id>.lock", held by the instance that writes
/// the copy for as long as it runs. A copy is one line of JSON (where the work came from, when, the
/// length and the digest of what follows) and the project's JSON after it.
///
/// Functions on files: they belong on a background task.
namespace nimbara {

struct UnsavedWork {
    QByteArray json; ///< as a project file holds it
    QString projectPath; ///< the operator's file; empty when there is none yet
    std::int64_t timeMs = 0; ///< wall time of the change, since the epoch
};

/// The copy of an instance that is gone. While a `claim` lives no other instance is offered it.
struct RecoverableWork {
    QString file; ///< the copy
    QString projectPath; ///< the operator's file; empty when there was none yet
    std::int64_t timeMs = 0; ///< wall time of its last change, since the epoch
    std::shared_ptr<QLockFile> claim;
};

struct RecoverySearch {
    std::vector<RecoverableWork> works; ///< newest first
    QStringList damaged; ///< copies that cannot be read, where they lie now
};

/// One instance's own place among the copies. One thread at a time.
class RecoveryPlace {
public:
    explicit RecoveryPlace(const QString &folder);

    /// Replaces the copy in one step; once called off, leaves none. Whatever fails, the old one
    /// stays whole. Throws `Error`.
    void write(const UnsavedWork &work, const std::atomic<bool> &calledOff);
    /// Throws `Error` when the copy is still there.
    void remove();
    /// Lets go of the place; a copy in it is found from now on.
    void leave() { m_lock.unlock(); }

private:
    void own();

    QString m_file;
    QLockFile m_lock;
};

/// The copies in a folder whose instances are gone. Those that cannot be read are moved into its
/// folder "damaged". Those of a running instance are not touched.
RecoverySearch findRecoverable(const QString &folder);

/// The project's JSON; the copy stays (`RecoveryCopy::adopt`). Throws `Error`.
QByteArray takeRecoverable(const RecoverableWork &work);

/// Removes the copy: the operator does not want it. Throws `Error` when it is still there.
void discardRecoverable(const RecoverableWork &work);

} // namespace nimbara

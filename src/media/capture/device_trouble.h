#pragma once

#include "base/message.h"
#include "media/gst/gst_handles.h"

#include <QString>

#include <memory>
#include <mutex>

namespace nimbara {

/// The name of another program that has the file open (`/proc`, proc(5)), other than the media
/// service; empty: none that the system tells of. Any thread; may take tens of milliseconds.
QString programUsing(const QString &file);

/// What keeps a device from delivering, by the error that its element posts: another program, a bus
/// that is full, a missing permission. Empty for anything else. Any thread; may take as long as
/// `programUsing`. `file`: of the device; may be empty.
Message troubleOf(const GError &error, const QString &debug, const QString &file);

/// Finds the trouble on the thread that posts the error, which may take its time. Any thread.
class DeviceTrouble {
public:
    /// Watches the pipeline's bus from now on. `file`: the device's; may be empty.
    static std::shared_ptr<DeviceTrouble> watch(const Pipeline &pipeline, const QString &file);

    /// Of the last error; empty: it has no name.
    [[nodiscard]] Message text() const;

private:
    void note(GstMessage *message);

    QString m_file;
    mutable std::mutex m_mutex;
    Message m_text;
};

} // namespace nimbara

#pragma once

#include "base/background_task.h"
#include "base/thread_wish.h"
#include "media/capture/devices.h"

#include <QString>
#include <QStringList>

#include <cstdint>
#include <deque>
#include <functional>

namespace nimbara {

/// Sets a control of a camera's device file. False when there is none, or the camera refuses. Any
/// thread; may block.
using CameraControl
    = std::function<bool(const QString &file, std::uint32_t control, std::int32_t value)>;

/// By Video4Linux (`VIDIOC_S_CTRL`, linux/videodev2.h); on other systems there is none.
bool setCameraControl(const QString &file, std::uint32_t control, std::int32_t value);

/// The cameras that must keep their rate in poor light. What lowers it is the camera's own control
/// "exposure_dynamic_framerate" (V4L2_CID_EXPOSURE_AUTO_PRIORITY, linux/v4l2-controls.h), which a
/// camera forgets when it is unplugged. Interface thread only; the camera is spoken to in the
/// background.
class SteadyCameras {
public:
    explicit SteadyCameras(CameraControl set = setCameraControl);

    /// By their identity (`CaptureDevice::identity`), in no order.
    void restore(const QStringList &identities) { m_steady = identities; }
    [[nodiscard]] const QStringList &identities() const { return m_steady; }
    [[nodiscard]] bool isSteady(const CaptureDevice &device) const;

    /// The operator's choice for the camera, which takes effect at once.
    void choose(const CaptureDevice &device, bool steady);
    /// The camera is about to be opened.
    void prepare(const CaptureDevice &device);

    /// The name of a camera that cannot be held, once, when it has answered a choice; else empty.
    QString takeRefused();
    /// The system has no thread for it; once. The camera is told when it has.
    bool takeNoThread() { return m_wish.takeRefusal(); }

private:
    void set(const QString &file, bool steady, const QString &chosenFor);

    /// What a camera is to be told.
    struct Wish {
        QString file;
        bool steady;
        QString name; ///< of the camera; empty: its refusal is not told
    };
    void tellNext();

    CameraControl m_set;
    QStringList m_steady;
    std::deque<Wish> m_wishes; ///< in their order; the first is under way
    BackgroundTask<bool> m_telling;
    ThreadWish m_wish;
};

} // namespace nimbara

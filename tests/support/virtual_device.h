#pragma once

#include "signal/frame.h"

#include <QProcess>

#include <memory>

namespace nimbara::testing {

/// A camera or microphone of the running PipeWire service (pipewire_session.sh). It is there for as
/// long as this lives.
class VirtualDevice {
public:
    /// Node and name without blanks. `colour`: a pattern of videotestsrc, "red" or "blue". 30
    /// frames per second.
    static VirtualDevice camera(const QString &node,
        const QString &name,
        const QString &colour,
        FrameSize size = { 640, 480 });
    /// One that the service opens without ever handing over a picture. `file`: what it tells of its
    /// own ("/dev/video9").
    static VirtualDevice muteCamera(const QString &node, const QString &name, const QString &file);
    /// Of one product and name with all of its kind: the port alone tells it. Its pictures tell its
    /// colour, "red" or "blue", its life and their number (counting_camera.py).
    static VirtualDevice countingCamera(const QString &port, const QString &colour, int life);
    /// A steady tone, 0.8 of full scale. `rate` and `tone` in hertz.
    static VirtualDevice microphone(const QString &node,
        const QString &name,
        int rate = 44100,
        int channels = 2,
        int tone = 440);

    VirtualDevice(VirtualDevice &&) noexcept = default;
    VirtualDevice &operator=(VirtualDevice &&) noexcept = default;
    ~VirtualDevice();

    /// Pulls the plug.
    void unplug();

private:
    VirtualDevice(const QString &program, const QStringList &arguments);

    std::unique_ptr<QProcess> m_process;
};

} // namespace nimbara::testing

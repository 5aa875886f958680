#pragma once

#include <functional>
#include <memory>

namespace nimbara {

enum class CaptureKind { Camera, Microphone };

enum class PermissionStatus {
    Granted,
    Denied,
    Undetermined, ///< the operator was never asked
};

/// The operating system's word on the use of cameras and microphones. Interface thread only.
class CapturePermission {
public:
    CapturePermission() = default;
    CapturePermission(const CapturePermission &) = delete;
    CapturePermission &operator=(const CapturePermission &) = delete;
    CapturePermission(CapturePermission &&) = delete;
    CapturePermission &operator=(CapturePermission &&) = delete;
    virtual ~CapturePermission() = default;

    [[nodiscard]] virtual PermissionStatus status(CaptureKind kind) const = 0;

    /// Asks the operator. `answered` is called later, from the event loop, once the status is
    /// settled; never inside this call, and never after this object is gone.
    virtual void request(CaptureKind kind, std::function<void()> answered) = 0;
};

/// The system's permissions where Qt knows them (6.5 and later); elsewhere everything is granted.
std::unique_ptr<CapturePermission> systemCapturePermission();

} // namespace nimbara

#pragma once

#include "media/capture/capture_permission.h"

#include <map>
#include <utility>
#include <vector>

namespace nimbara::testing {

/// A permission whose answers the test gives.
class FakePermission final : public CapturePermission {
public:
    explicit FakePermission(PermissionStatus both = PermissionStatus::Granted)
        : m_status { { CaptureKind::Camera, both }, { CaptureKind::Microphone, both } }
    {
    }

    [[nodiscard]] PermissionStatus status(CaptureKind kind) const override
    {
        return m_status.at(kind);
    }

    void request(CaptureKind kind, std::function<void()> answered) override
    {
        m_asked.push_back(kind);
        m_waiting.emplace(kind, std::move(answered));
    }

    /// The operator answers, in the system's dialog or later in its settings.
    void answer(CaptureKind kind, PermissionStatus status)
    {
        m_status[kind] = status;
        if (const auto waiting = m_waiting.extract(kind)) {
            waiting.mapped()();
        }
    }

    /// Every request so far, in order.
    [[nodiscard]] const std::vector<CaptureKind> &asked() const { return m_asked; }

private:
    std::map<CaptureKind, PermissionStatus> m_status;
    std::map<CaptureKind, std::function<void()>> m_waiting;
    std::vector<CaptureKind> m_asked;
};

} // namespace nimbara::testing

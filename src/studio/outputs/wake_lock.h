#pragma once

#include <QObject>

#include <memory>

namespace nimbara {

/// Keeps the desktop from sleeping, dimming and locking while it is held, by the desktop's own
/// services on the session bus: `org.freedesktop.ScreenSaver` and
/// `org.freedesktop.PowerManagement.Inhibit` (the freedesktop idle inhibition services), and the
/// portal `org.freedesktop.portal.Inhibit` where neither answers, or the last that did has left the
/// bus. One that starts anew is asked again. Without any of them a line of the log says so, and
/// nothing else happens.
///
/// Interface thread only, which never waits: the services answer when they like. On other systems
/// nothing happens.
class WakeLock : public QObject {
    Q_OBJECT
public:
    explicit WakeLock(QObject *parent = nullptr);
    WakeLock(const WakeLock &) = delete;
    WakeLock &operator=(const WakeLock &) = delete;
    WakeLock(WakeLock &&) = delete;
    WakeLock &operator=(WakeLock &&) = delete;
    /// Gives back what is held.
    ~WakeLock() override;

    /// Holds it, or gives it back at once. Cheap when nothing changes.
    void setHeld(bool held);

private:
    class Bus;
    bool m_held = false;
    std::shared_ptr<Bus> m_bus; ///< of the hold; answers under way know it, too
};

} // namespace nimbara

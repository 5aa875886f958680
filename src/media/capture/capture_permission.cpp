#include "media/capture/capture_permission.h"

#include <QCoreApplication>
#include <QObject>

#if QT_VERSION >= QT_VERSION_CHECK(6, 5, 0)
#include <QPermissions>
#define NIMBARA_QT_PERMISSIONS QT_CONFIG(permissions)
#else
#define NIMBARA_QT_PERMISSIONS 0
#endif

namespace nimbara {

namespace {

#if NIMBARA_QT_PERMISSIONS

QPermission permission(CaptureKind kind)
{
    return kind == CaptureKind::Camera ? QPermission(QCameraPermission {})
                                       : QPermission(QMicrophonePermission {});
}

class SystemCapturePermission final : public CapturePermission {
public:
    [[nodiscard]] PermissionStatus status(CaptureKind kind) const override
    {
        switch (qApp->checkPermission(permission(kind))) {
        case Qt::PermissionStatus::Granted:
            return PermissionStatus::Granted;
        case Qt::PermissionStatus::Denied:
            return PermissionStatus::Denied;
        case Qt::PermissionStatus::Undetermined:
            break;
        }
        return PermissionStatus::Undetermined;
    }

    void request(CaptureKind kind, std::function<void()> answered) override
    {
        const auto later = [this, answered = std::move(answered)](const QPermission &) {
            QMetaObject::invokeMethod(&m_life, answered, Qt::QueuedConnection);
        };
        if (kind == CaptureKind::Camera) {
            qApp->requestPermission(QCameraPermission {}, &m_life, later);
        } else {
            qApp->requestPermission(QMicrophonePermission {}, &m_life, later);
        }
    }

private:
    QObject m_life; ///< answers that come after it are dropped
};

#else

class SystemCapturePermission final : public CapturePermission {
public:
    [[nodiscard]] PermissionStatus status(CaptureKind /*kind*/) const override
    {
        return PermissionStatus::Granted;
    }

    void request(CaptureKind /*kind*/, std::function<void()> answered) override
    {
        QMetaObject::invokeMethod(&m_life, std::move(answered), Qt::QueuedConnection);
    }

private:
    QObject m_life; ///< answers that come after it are dropped
};

#endif

} // namespace

std::unique_ptr<CapturePermission> systemCapturePermission()
{
    return std::make_unique<SystemCapturePermission>();
}

} // namespace nimbara

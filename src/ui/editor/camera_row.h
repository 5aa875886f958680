#pragma once

#include "media/capture/devices.h"

#include <QComboBox>
#include <QString>
#include <QStringList>

#include <vector>

namespace nimbara {

/// The list of cameras that a camera layer may show: the principal one, and each device.
class CameraRow : public QComboBox {
    Q_OBJECT
public:
    explicit CameraRow(QWidget *parent = nullptr);

    /// The devices that are there.
    void showDevices(const std::vector<CaptureDevice> &devices);
    /// The layer's choice (`identityText`; empty: the principal camera). One that is not there has
    /// an entry of its own, as has one that several devices fit.
    void showChoice(const QString &named);

Q_SIGNALS:
    /// The operator chose another one.
    void chosen(const QString &named);

private:
    void fill();

    std::vector<CaptureDevice> m_devices;
    QString m_named;
    QStringList m_entries; ///< what each of the list means
};

} // namespace nimbara

#pragma once

#include "media/capture/devices.h"

#include <QString>

#include <vector>

namespace nimbara {

/// Where a USB device is plugged in: its controller and its ports from there ("0000:00:14.0 2.1").
/// Read from whatever names it: the bus position that the kernel tells ("usb-0000:00:14.0-2.1", in
/// the middle of a sound card's long name, too), udev's path ("pci-0000:00:14.0-usb-0:2.1:1.0") or
/// the one in sysfs ("/devices/pci0000:00/0000:00:14.0/usb1/1-2/1-2.1/1-2.1:1.2"). Empty: none.
QString usbPlace(const QString &name);

/// The sound of a capture card or of a camera's own microphone: the input that is part of the same
/// USB device, the first of several. It is known by where it is plugged in, else by vendor, product
/// and a serial number that no other has. Null: there is none. The result points into `inputs`.
const CaptureDevice *soundBeside(const CaptureDevice &camera,
    const std::vector<CaptureDevice> &inputs);

} // namespace nimbara

#include "media/capture/usb_place.h"

#include <QRegularExpression>

#include <algorithm>

namespace nimbara {

namespace {

/// Each finds the controller and the ports.
const std::vector<QRegularExpression> &forms()
{
    static const std::vector<QRegularExpression> all {
        QRegularExpression(QStringLiteral(R"(\busb-(\S+)-(\d+(?:\.\d+)*)(?:[,\s]|$))")),
        QRegularExpression(
            QStringLiteral(R"(^(?:.*-)?(?:pci|platform)-(.+)-usb(?:v\d)?-\d+:(\d+(?:\.\d+)*):)")),
        QRegularExpression(QStringLiteral(R"(/([^/]+)/usb\d+/(?:[^/]+/)*\d+-(\d+(?:\.\d+)*):\d)")),
    };
    return all;
}

bool mayBeOne(const CaptureDevice &one, const CaptureDevice &other)
{
    return one.usb.isEmpty() || other.usb.isEmpty() || one.usb == other.usb;
}

bool isOneProduct(const DeviceIdentity &one, const DeviceIdentity &other)
{
    return !one.product.isEmpty() && one.product == other.product && one.vendor == other.vendor;
}

} // namespace

QString usbPlace(const QString &name)
{
    for (const QRegularExpression &form : forms()) {
        if (const QRegularExpressionMatch found = form.match(name); found.hasMatch()) {
            return found.captured(1) + QLatin1Char(' ') + found.captured(2);
        }
    }
    return {};
}

const CaptureDevice *soundBeside(const CaptureDevice &camera,
    const std::vector<CaptureDevice> &inputs)
{
    const auto isThere = [&](const CaptureDevice &input) {
        return !camera.usb.isEmpty() && input.usb == camera.usb;
    };
    const auto there = std::find_if(inputs.begin(), inputs.end(), isThere);
    if (there != inputs.end()) {
        return &*there;
    }
    const auto hasItsNumber = [&](const CaptureDevice &input) {
        return !camera.marks.serial.isEmpty() && input.marks.serial == camera.marks.serial
            && isOneProduct(input.marks, camera.marks) && mayBeOne(input, camera);
    };
    const bool isAlone
        = !camera.marks.hasTwin && std::count_if(inputs.begin(), inputs.end(), hasItsNumber) == 1;
    return isAlone ? &*std::find_if(inputs.begin(), inputs.end(), hasItsNumber) : nullptr;
}

} // namespace nimbara

#include "media/capture/steady_cameras.h"

#include <algorithm>
#include <utility>

#ifdef __linux__
#include <fcntl.h>
#include <linux/videodev2.h>
#include <sys/ioctl.h>
#include <unistd.h>
#endif

namespace nimbara {

namespace {

constexpr std::uint32_t dynamicFrameRate = 0x009A0903; ///< V4L2_CID_EXPOSURE_AUTO_PRIORITY

} // namespace

bool setCameraControl([[maybe_unused]] const QString &file,
    [[maybe_unused]] std::uint32_t control,
    [[maybe_unused]] std::int32_t value)
{
#ifdef __linux__
    static_assert(dynamicFrameRate == V4L2_CID_EXPOSURE_AUTO_PRIORITY);
    const int camera = ::open(file.toLocal8Bit().constData(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    if (camera < 0) {
        return false;
    }
    v4l2_control wanted { control, value };
    const bool isSet = ::ioctl(camera, VIDIOC_S_CTRL, &wanted) == 0;
    ::close(camera);
    return isSet;
#else
    return false;
#endif
}

SteadyCameras::SteadyCameras(CameraControl set)
    : m_set(std::move(set))
{
}

bool SteadyCameras::isSteady(const CaptureDevice &device) const
{
    return m_steady.contains(device.identity);
}

void SteadyCameras::choose(const CaptureDevice &device, bool steady)
{
    m_steady.removeAll(device.identity);
    if (steady) {
        m_steady.append(device.identity);
    }
    set(device.file, steady, device.name);
}

void SteadyCameras::prepare(const CaptureDevice &device)
{
    if (isSteady(device)) {
        set(device.file, true, {});
    }
}

void SteadyCameras::set(const QString &file, bool steady, const QString &chosenFor)
{
    if (file.isEmpty()) {
        return;
    }
    Answer answer;
    answer.name = chosenFor;
    answer.done.start(
        [set = m_set, file, steady] { return set(file, dynamicFrameRate, steady ? 0 : 1); });
    m_answers.push_back(std::move(answer));
}

QString SteadyCameras::takeRefused()
{
    const auto first = std::find_if(m_answers.begin(), m_answers.end(), [](const Answer &answer) {
        return answer.done.isReady();
    });
    if (first == m_answers.end()) {
        return {};
    }
    const bool isSet = first->done.take();
    const QString name = first->name;
    m_answers.erase(first);
    return isSet ? QString() : name;
}

} // namespace nimbara

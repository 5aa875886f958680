#include "media/capture/steady_cameras.h"

#include <chrono>
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

std::int64_t monotonicUs()
{
    using namespace std::chrono;
    return duration_cast<microseconds>(steady_clock::now().time_since_epoch()).count();
}

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
    set(device.file, steady, steady ? device.name : QString());
}

void SteadyCameras::prepare(const CaptureDevice &device)
{
    if (isSteady(device)) {
        set(device.file, true, {});
    }
}

void SteadyCameras::set(const QString &file, bool steady, const QString &chosenFor)
{
    if (!file.isEmpty()) {
        m_wishes.push_back({ file, steady, chosenFor });
        tellNext();
    }
}

/// One after the other: the last wish for a camera is the one that stays.
void SteadyCameras::tellNext()
{
    if (!m_wishes.empty() && !m_telling.isUnderWay()) {
        m_wish.attempt(monotonicUs(), [this] {
            return m_telling.tryStart([set = m_set, wish = m_wishes.front()] {
                return set(wish.file, dynamicFrameRate, wish.steady ? 0 : 1);
            });
        });
    }
}

QString SteadyCameras::takeRefused()
{
    if (!m_telling.isReady()) {
        tellNext(); // no thread may have been to be had
        return {};
    }
    const bool isSet = m_telling.take();
    const QString name = m_wishes.front().name;
    m_wishes.pop_front();
    tellNext();
    return isSet ? QString() : name;
}

} // namespace nimbara

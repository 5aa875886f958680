#include "media/media_factory.h"

#include "app/error.h"

#include <QUrl>

#include <algorithm>
#include <array>

namespace nimbara {

void checkMediaLocation(const QString &location)
{
    static constexpr std::array
        schemes { "file", "https", "http", "rtsp", "rtsps", "rtmp", "rtmps" };
    // The scheme is compared as it was entered: a parsed URL has it in lower case.
    const QString scheme = location.section(QLatin1Char(':'), 0, 0);
    const bool known = std::any_of(schemes.begin(), schemes.end(), [&](const char *candidate) {
        return scheme == QLatin1String(candidate);
    });
    if (!known || !QUrl(location, QUrl::TolerantMode).isValid()) {
        throw Error(QStringLiteral("URL multimedia no compatible"));
    }
}

MediaFactory::MediaFactory(const Clock &clock,
    std::shared_ptr<Retirement> retirement,
    ScreenElements screens)
    : m_clock(clock)
    , m_retirement(std::move(retirement))
    , m_screens(std::move(screens))
{
}

MediaPtr MediaFactory::camera(FrameSize size, GstDevice *device) const
{
    return make(size, device, {}, true, false);
}

MediaPtr MediaFactory::testBars(FrameSize size) const
{
    return make(size, nullptr, {}, true, false);
}

MediaPtr MediaFactory::screen(FrameSize size) const
{
    return make(size, nullptr, {}, false, true);
}

MediaPtr MediaFactory::media(FrameSize size, const QString &location) const
{
    checkMediaLocation(location);
    return make(size, nullptr, location, false, false);
}

MediaPtr MediaFactory::make(FrameSize size,
    GstDevice *device,
    const QString &uri,
    bool test,
    bool screen) const
{
    auto source = std::make_unique<Media>(m_clock,
        size.width,
        size.height,
        device,
        uri,
        test,
        screen,
        m_screens);
    return { source.release(), [weak = std::weak_ptr(m_retirement)](Media *dropped) {
                std::unique_ptr<Media> last(dropped);
                if (const auto retirement = weak.lock()) {
                    retirement->retire(std::move(last));
                }
            } };
}

} // namespace nimbara

#include "media/sources/media_factory.h"

#include "base/error.h"
#include "base/secret_texts.h"

#include <QUrl>

#include <algorithm>
#include <array>

namespace nimbara {

void checkMediaLocation(const QString &location)
{
    static constexpr std::array
        schemes { "file", "https", "http", "rtsp", "rtsps", "rtmp", "rtmps" };
    // A parsed URL has its scheme in lower case; what counts is what was entered.
    const QUrl url(location, QUrl::TolerantMode);
    const bool known = std::any_of(schemes.begin(), schemes.end(), [&](const char *scheme) {
        return url.scheme() == QLatin1String(scheme) && location.startsWith(url.scheme());
    });
    if (!known || !url.isValid()) {
        throw Error(QStringLiteral("URL multimedia no compatible"));
    }
    hideSecret(url.password(QUrl::FullyEncoded));
    hideSecret(url.password(QUrl::FullyDecoded));
}

MediaFactory::MediaFactory(const Clock &clock,
    std::shared_ptr<Retirement> retirement,
    ScreenElements screens)
    : m_clock(clock)
    , m_retirement(std::move(retirement))
    , m_screens(std::move(screens))
    , m_slots(std::make_shared<OpeningSlots>(OpeningSlots::max()))
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

MediaPtr MediaFactory::heldMedia(FrameSize size, const QString &location) const
{
    checkMediaLocation(location);
    return make(size, nullptr, location, false, false, m_slots);
}

MediaPtr MediaFactory::make(FrameSize size,
    GstDevice *device,
    const QString &uri,
    bool test,
    bool screen,
    std::shared_ptr<OpeningSlots> holding) const
{
    auto source = std::make_unique<Media>(m_clock,
        size.width,
        size.height,
        device,
        uri,
        test,
        screen,
        m_screens,
        std::move(holding));
    return { source.release(), [weak = std::weak_ptr(m_retirement)](Media *dropped) {
                std::unique_ptr<Media> last(dropped);
                if (const auto retirement = weak.lock()) {
                    retirement->retire(std::move(last));
                }
            } };
}

} // namespace nimbara

#include "media/sources/media_factory.h"

#include "base/error.h"
#include "base/secret_texts.h"

#include <QUrl>
#include <QUrlQuery>

#include <algorithm>
#include <array>

namespace nimbara {

namespace {

constexpr qsizetype shortestToken = 16; ///< characters of a path's segment that may be a key

/// In every form in which a text may hold it.
void hide(const QString &encoded)
{
    hideSecret(encoded);
    hideSecret(QUrl::fromPercentEncoding(encoded.toUtf8()));
}

void hideSecretsOf(const QUrl &url)
{
    // Where they stand in a location, however short they are; alone only what is no common word.
    if (!url.userInfo().isEmpty()) {
        hide(url.userInfo(QUrl::FullyEncoded) + QLatin1Char('@'));
    }
    hide(url.password(QUrl::FullyEncoded));
    for (const auto &[name, value] : QUrlQuery(url).queryItems(QUrl::FullyEncoded)) {
        if (value.isEmpty()) { // a token alone
            hide(QLatin1Char('?') + name);
            hide(QLatin1Char('&') + name);
        } else {
            hide(name + QLatin1Char('=') + value);
        }
        if (const QString &token = value.isEmpty() ? name : value; token.size() >= shortestToken) {
            hide(token);
        }
    }
    const QStringList segments = url.path(QUrl::FullyEncoded).split(QLatin1Char('/'));
    // "rtmp://host/application/key": a key has digits, a name of a stream is a word.
    const bool isKey = url.scheme().startsWith(QLatin1String("rtmp")) && segments.size() > 2
        && std::any_of(segments.last().begin(), segments.last().end(), [](QChar each) {
               return each.isDigit();
           });
    for (const QString &segment : segments) {
        if (segment.size() >= shortestToken || (isKey && segment == segments.last())) {
            hide(segment);
        }
    }
}

} // namespace

QString checkedMediaLocation(const QString &typed)
{
    static constexpr std::array
        schemes { "file", "https", "http", "rtsp", "rtsps", "rtmp", "rtmps", "srt" };
    QString location = typed.trimmed();
    const QUrl url(location, QUrl::TolerantMode);
    const QString scheme = url.scheme();
    const bool known = std::any_of(schemes.begin(), schemes.end(), [&scheme](const char *each) {
        return scheme == QLatin1String(each);
    });
    if (!known || !url.isValid()) {
        throw Error(QStringLiteral("URL multimedia no compatible"));
    }
    if (!url.isLocalFile()) {
        hideSecretsOf(url);
    }
    return location.replace(0, scheme.size(), scheme);
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

MediaPtr MediaFactory::camera(FrameSize size,
    GstDevice *device,
    const std::optional<DeviceMode> &mode,
    DeviceRoad road) const
{
    return make({ .size = size, .device = device, .mode = mode, .road = road });
}

MediaPtr MediaFactory::testBars(FrameSize size) const
{
    return make({ .size = size });
}

MediaPtr MediaFactory::screen(FrameSize size) const
{
    if (m_needsGrant && !*m_grantedScreen) {
        return nullptr;
    }
    return make({ .size = size, .screen = true, .stream = *m_grantedScreen });
}

MediaPtr MediaFactory::media(FrameSize size, const QString &location, std::int32_t latencyMs) const
{
    return make(requestFor(size, location, latencyMs));
}

MediaPtr
MediaFactory::heldMedia(FrameSize size, const QString &location, std::int32_t latencyMs) const
{
    return make(requestFor(size, location, latencyMs), m_slots);
}

SourceRequest
MediaFactory::requestFor(FrameSize size, const QString &location, std::int32_t latencyMs) const
{
    const auto [bare, typed] = splitLogin(checkedMediaLocation(location));
    const Login login = typed.isEmpty() ? m_logins->find(bare) : typed;
    return { .size = size, .uri = bare, .network = { latencyMs, login } };
}

MediaPtr MediaFactory::make(const SourceRequest &request,
    std::shared_ptr<OpeningSlots> holding) const
{
    auto source = std::make_unique<Media>(m_clock, request, m_screens, std::move(holding));
    return { source.release(), [weak = std::weak_ptr(m_retirement)](Media *dropped) {
                std::unique_ptr<Media> last(dropped);
                if (const auto retirement = weak.lock()) {
                    retirement->retire(std::move(last));
                }
            } };
}

} // namespace nimbara

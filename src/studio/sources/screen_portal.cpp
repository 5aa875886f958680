#include "studio/sources/screen_portal.h"

#include <utility>

namespace nimbara {

namespace {

const auto tokenSetting = QStringLiteral("screen_capture_token");

} // namespace

ScreenPortal::ScreenPortal(QSettings &settings, std::optional<ScreenStream> &granted, bool isNeeded)
    : m_settings(settings)
    , m_granted(granted)
    , m_isNeeded(isNeeded)
{
    if (m_isNeeded) {
        begin({}, true);
    }
}

ScreenPortal::~ScreenPortal()
{
    for (const auto &talk : { m_asking, m_sharing }) {
        if (talk) {
            talk->leave();
        }
    }
}

void ScreenPortal::begin(const QString &token, bool looksOnly)
{
    if (m_asking) {
        m_asking->leave();
    }
    m_wasAsked = m_wasAsked || !looksOnly;
    m_asking = PortalTalk::begin(*this, token, looksOnly);
}

bool ScreenPortal::mayOpen()
{
    if (!m_wasAsked && m_trouble.isEmpty()) {
        want();
    }
    return !m_isNeeded || m_granted.has_value();
}

void ScreenPortal::want()
{
    const bool isUnderWay = m_asking && m_wasAsked;
    if (m_isNeeded && !m_granted && !isUnderWay) {
        begin(m_settings.value(tokenSetting).toString(), false);
    }
}

void ScreenPortal::choose()
{
    if (m_isNeeded) {
        begin({}, false); // with the token of the last choice nobody would be asked
    }
}

void ScreenPortal::tellTrouble(const Message &trouble)
{
    if (!(std::exchange(m_trouble, trouble) == trouble)) {
        Q_EMIT troubleChanged();
    }
}

/// What was shared before ends; who shows it opens this instead.
void ScreenPortal::grant(const std::shared_ptr<PortalTalk> &talk,
    const ScreenStream &stream,
    const QString &token)
{
    if (!token.isEmpty()) {
        m_settings.setValue(tokenSetting, token);
    }
    m_granted = stream;
    if (m_sharing) {
        m_sharing->leave();
    }
    m_sharing = talk;
    m_asking.reset();
    Q_EMIT said("El escritorio comparte la pantalla.");
}

void ScreenPortal::end(const std::shared_ptr<PortalTalk> &talk, const Message &why)
{
    if (talk == m_sharing) {
        m_granted.reset();
        m_sharing.reset();
    }
    if (talk == m_asking) {
        m_asking.reset();
    }
    if (!why.isEmpty()) {
        Q_EMIT said(why);
    }
}

} // namespace nimbara

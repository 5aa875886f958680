#pragma once

#include "base/message.h"
#include "media/sources/screen_stream.h"
#include "studio/sources/portal_talk.h"

#include <QObject>
#include <QSettings>

#include <memory>
#include <optional>

namespace nimbara {

/// The screen on Wayland, where no program may look at it by itself: the desktop asks the operator
/// what to share, and hands over a stream of its media service (`org.freedesktop.portal.ScreenCast`
/// of the XDG desktop portal, https://flatpak.github.io/xdg-desktop-portal). What was chosen is
/// remembered by the token that the desktop gave for it.
///
/// Interface thread only, which never waits: the desktop and the operator answer when they like.
/// Where the screen is captured without it (X11, other systems), it does nothing.
class ScreenPortal : public QObject, private PortalAnswers {
    Q_OBJECT
public:
    /// `granted`: what screen layers are opened with; outlives it, as does `settings`. `isNeeded`:
    /// the session is Wayland's; then it looks at once whether the desktop offers the portal.
    ScreenPortal(QSettings &settings, std::optional<ScreenStream> &granted, bool isNeeded);
    Q_DISABLE_COPY_MOVE(ScreenPortal)
    /// Ends what is shared.
    ~ScreenPortal() override;

    [[nodiscard]] bool isNeeded() const { return m_isNeeded; }
    /// Why the screen cannot be captured here; empty when it can, or that is not known yet.
    [[nodiscard]] const Message &trouble() const { return m_trouble; }

    /// Whether opening a screen layer may come to something. When nobody was asked yet, this asks;
    /// what the operator declined, or the desktop ended, is asked for by the next two alone.
    bool mayOpen();
    /// Asks for what was chosen last, unless it is shared already.
    void want();
    /// Asks the operator, also for something else than what is shared; that goes on until there is
    /// an answer.
    void choose();

Q_SIGNALS:
    void troubleChanged();
    void said(const nimbara::Message &text);

private:
    void begin(const QString &token, bool looksOnly);
    void tellTrouble(const Message &trouble) override;
    void grant(const std::shared_ptr<PortalTalk> &talk,
        const ScreenStream &stream,
        const QString &token) override;
    void end(const std::shared_ptr<PortalTalk> &talk, const Message &why) override;

    QSettings &m_settings;
    std::optional<ScreenStream> &m_granted;
    const bool m_isNeeded;
    bool m_wasAsked = false;
    Message m_trouble;
    std::shared_ptr<PortalTalk> m_asking; ///< no answer yet
    std::shared_ptr<PortalTalk> m_sharing;
};

} // namespace nimbara

#pragma once

#include "base/message.h"
#include "media/sources/screen_stream.h"

#include <QString>

#include <memory>

namespace nimbara {

class PortalTalk;

/// What comes of a talk with the desktop. Interface thread.
class PortalAnswers {
public:
    PortalAnswers() = default;
    Q_DISABLE_COPY_MOVE(PortalAnswers)
    virtual ~PortalAnswers() = default;

    /// Why the desktop offers no screens; empty: it does.
    virtual void tellTrouble(const Message &trouble) = 0;
    /// A screen is shared until the talk ends. `token`: asks for the same one another time; may be
    /// empty.
    virtual void
    grant(const std::shared_ptr<PortalTalk> &talk, const ScreenStream &stream, const QString &token)
        = 0;
    /// Nothing is shared, or not any more; `why` is for the operator, and may be empty.
    virtual void end(const std::shared_ptr<PortalTalk> &talk, const Message &why) = 0;
};

/// One question to the desktop's portal for screens, and the session that it leads to, which ends
/// when the desktop closes it or the portal goes away (`org.freedesktop.portal.ScreenCast`,
/// https://flatpak.github.io/xdg-desktop-portal). On systems without it nothing ever comes of it.
/// Interface thread only, which never waits.
class PortalTalk {
public:
    PortalTalk() = default;
    Q_DISABLE_COPY_MOVE(PortalTalk)
    virtual ~PortalTalk() = default;

    /// `token`: of an earlier choice, which is restored; empty: the operator is asked. `looksOnly`:
    /// only whether there are screens. `answers` hears nothing before this returns, and outlives
    /// the talk unless it leaves it.
    static std::shared_ptr<PortalTalk>
    begin(PortalAnswers &answers, const QString &token, bool looksOnly);

    /// Nobody is told anything from now on, and nothing is shared.
    virtual void leave() = 0;
};

} // namespace nimbara

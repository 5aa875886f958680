#pragma once

#include <QHash>
#include <QString>

namespace nimbara {

/// What a source on the network asks for before it delivers; SRT has a passphrase alone, which is
/// the password here.
struct Login {
    QString user;
    QString password;

    [[nodiscard]] bool isEmpty() const { return user.isEmpty() && password.isEmpty(); }
    bool operator==(const Login &) const = default;
};

/// A location and the login that was written in it.
struct SplitLocation {
    QString location; ///< all the rest, as it was
    Login login {};
};

/// Takes user and password out of a location of HTTP, RTSP or RTMP (RFC 3986, section 3.2.1), and
/// the passphrase out of one of SRT. Others stay as they are.
SplitLocation splitLogin(const QString &location);

/// Names whose login a location uses: host, port and path, without anything secret.
QString loginPlace(const QString &location);
/// The same for every location of its host; empty for SRT, where each port is another sender's.
QString loginHost(const QString &location);

/// Hides the login (`hideSecret`) in the forms in which a library may repeat it.
void hideLogin(const Login &login);

/// The logins of this run, in memory. Interface thread only.
class KnownLogins {
public:
    /// The one for the location, else the last one for its host, but for SRT; empty when there is
    /// none.
    [[nodiscard]] Login find(const QString &location) const;
    /// The one of this very place; empty when there is none.
    [[nodiscard]] Login own(const QString &location) const;
    /// An empty one is forgotten.
    void remember(const QString &location, const Login &login);
    /// Where none is known yet, for the place and for its host.
    void fill(const QString &location, const Login &login);

private:
    QHash<QString, Login> m_logins; ///< by place and by host
};

} // namespace nimbara

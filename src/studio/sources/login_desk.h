#pragma once

#include "base/message.h"
#include "media/sources/source_login.h"
#include "secrets/secret_store.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QString>

namespace nimbara {

/// A login that a source on the network asks for.
struct LoginQuestion {
    QString location; ///< for the answer
    QString place; ///< for the operator, without anything secret
    QString user; ///< the last one tried
    bool hasUser = true; ///< false: a passphrase alone
    bool isRepeated = false; ///< the last one was refused
};

/// User and password of the sources on the network: asked for when a source is refused, kept in the
/// secure store by location and by host, and never in a project. A source that was refused is not
/// opened again before there is another login for it: cameras lock out whoever tries too often.
///
/// Interface thread only; the store and the operator answer when they like.
class LoginDesk : public QObject {
    Q_OBJECT
public:
    /// `known`: what sources are opened with. Both must outlive it.
    LoginDesk(KnownLogins &known, SecretStore &secrets)
        : m_known(known)
        , m_secrets(secrets)
    {
    }

    /// The location without the login that is written in it, which is kept from now on.
    QString takeOut(const QString &location);

    /// The same for a project of earlier days, whose login may be an old one: it is kept only where
    /// neither memory nor store has one.
    QString takeOutOld(const QString &location);
    /// The store is asked what it has for such a project; it may take its time.
    [[nodiscard]] bool isFilling() const { return m_filling > 0; }

    /// A source of the location was refused with this login, possibly none: looks in the store for
    /// one that was not refused, then asks (`wanted`). Once, however many sources tell, and one
    /// question at a time for each host.
    void refused(const QString &location, const Login &used);
    /// Opening it may come to something: no login is awaited for it.
    [[nodiscard]] bool mayOpen(const QString &location) const
    {
        return !m_open.contains(loginPlace(location));
    }

    /// The operator's answer, which is kept, and tried with all that waits for the same host; an
    /// empty one opens the source without a login, and the store keeps what it has.
    void answer(const QString &location, const Login &login);
    /// The source stays closed until it is asked for anew, and with it what waits for the same
    /// host.
    void decline(const QString &location);
    /// The operator wants the source opened anew: one that was declined is asked for again.
    void askAnew(const QString &location);

Q_SIGNALS:
    void wanted(const nimbara::LoginQuestion &question);
    void said(const nimbara::Message &text);

private:
    enum class Step {
        Reading, ///< from the store
        Asked,
        Waiting, ///< for the answer to the question about another place of its host
        Declined
    };
    struct Open {
        QString location;
        Step step;
    };

    [[nodiscard]] bool isAt(const QString &location, Step step) const;
    [[nodiscard]] bool wasRefused(const QString &location, const Login &login) const;
    [[nodiscard]] bool hasUntried(const QString &location) const;
    [[nodiscard]] QStringList openAtHostOf(const QString &location) const;
    void read(const QString &location, const Login &used, const QStringList &accounts);
    void ask(const QString &location, const Login &used);
    void keep(const QString &location, const Login &login);
    void release(const QString &location, const Login &login);
    void fill(const QString &location, const Login &login);
    void write(const QString &account, const Login &login);

    KnownLogins &m_known;
    SecretStore &m_secrets;
    QHash<QString, Open> m_open; ///< by place: what no login is known for yet
    QHash<QString, QList<Login>> m_tried; ///< by place: what was refused since the last answer
    int m_filling = 0; ///< questions to the store under way
};

} // namespace nimbara

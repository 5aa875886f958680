#include "studio/sources/login_desk.h"

#include "base/secret_texts.h"

#include <QPointer>
#include <QStringList>

namespace nimbara {

namespace {

/// The nearest first.
QStringList accountsOf(const QString &location)
{
    QStringList accounts { secret_account::source(loginPlace(location)) };
    if (const QString host = loginHost(location); !host.isEmpty()) {
        accounts << secret_account::source(host);
    }
    accounts.removeDuplicates();
    return accounts;
}

/// A user's name has no line's end.
QString stored(const Login &login)
{
    return login.isEmpty() ? QString() : login.user + u'\n' + login.password;
}

Login fromStored(const QString &text)
{
    return { text.section(u'\n', 0, 0), text.section(u'\n', 1) };
}

} // namespace

QString LoginDesk::takeOut(const QString &location)
{
    const SplitLocation split = splitLogin(location);
    if (!split.login.isEmpty()) {
        keep(split.location, split.login);
    }
    return split.location;
}

void LoginDesk::refused(const QString &location, const Login &used)
{
    const QString place = loginPlace(location);
    const Login known = m_known.find(location);
    if (m_open.contains(place) || (!known.isEmpty() && !(known == used))) {
        return; // under way, or there is one that it was not opened with
    }
    m_open.insert(place, Step::Reading);
    read(location, used, accountsOf(location));
}

void LoginDesk::read(const QString &location, const Login &used, const QStringList &accounts)
{
    if (accounts.isEmpty()) {
        ask(location, used);
        return;
    }
    m_secrets.readSecret(accounts.first(),
        [self = QPointer(this), location, used, accounts](const QString &secret) {
            if (!self || self->m_open.value(loginPlace(location), Step::Asked) != Step::Reading) {
                return;
            }
            const Login login = fromStored(secret);
            if (secret.isEmpty() || login == used) {
                self->read(location, used, accounts.mid(1));
                return;
            }
            self->m_known.remember(location, login);
            self->m_open.remove(loginPlace(location));
        });
}

void LoginDesk::ask(const QString &location, const Login &used)
{
    m_open.insert(loginPlace(location), Step::Asked);
    Q_EMIT wanted({ location,
        withoutSecrets(loginPlace(location)),
        used.user,
        !loginHost(location).isEmpty(),
        !used.isEmpty() });
}

void LoginDesk::answer(const QString &location, const Login &login)
{
    keep(location, login);
}

void LoginDesk::keep(const QString &location, const Login &login)
{
    m_known.remember(location, login);
    m_open.remove(loginPlace(location));
    for (const QString &account : accountsOf(location)) {
        m_secrets.writeSecret(account, stored(login), [self = QPointer(this)](bool written) {
            if (self && !written) {
                Q_EMIT self->said("No se pudo guardar en el almacén seguro del sistema");
            }
        });
    }
}

void LoginDesk::decline(const QString &location)
{
    m_open.insert(loginPlace(location), Step::Declined);
    Q_EMIT said("Sin usuario y contraseña no se abre; \"Reiniciar video\" vuelve a pedirlos.");
}

void LoginDesk::askAnew(const QString &location)
{
    if (m_open.value(loginPlace(location), Step::Asked) == Step::Declined) {
        m_open.remove(loginPlace(location));
    }
}

} // namespace nimbara

#include "studio/sources/login_desk.h"

#include "base/secret_texts.h"

#include <QPointer>
#include <QStringList>

#include <algorithm>

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
    return login.user + u'\n' + login.password;
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

QString LoginDesk::takeOutOld(const QString &location)
{
    const SplitLocation split = splitLogin(location);
    if (!split.login.isEmpty()) {
        hideLogin(split.login);
        fill(split.location, split.login);
    }
    return split.location;
}

void LoginDesk::fill(const QString &location, const Login &login)
{
    for (const QString &account : accountsOf(location)) {
        ++m_filling;
        m_secrets.readSecret(account,
            [self = QPointer(this), location, login, account](const QString &secret) {
                if (!self) {
                    return;
                }
                --self->m_filling;
                const Login known = self->m_known.own(location);
                if (!secret.isEmpty() || !(known.isEmpty() || known == login)) {
                    return;
                }
                if (account == secret_account::source(loginPlace(location))) {
                    self->m_known.fill(location, login);
                    self->m_open.remove(loginPlace(location));
                }
                self->write(account, login);
            });
    }
}

bool LoginDesk::isAt(const QString &location, Step step) const
{
    const auto open = m_open.constFind(loginPlace(location));
    return open != m_open.cend() && open->step == step;
}

bool LoginDesk::wasRefused(const QString &location, const Login &login) const
{
    return m_tried.value(loginPlace(location)).contains(login);
}

/// There is a login that the location was not opened with.
bool LoginDesk::hasUntried(const QString &location) const
{
    const Login known = m_known.find(location);
    return !known.isEmpty() && !wasRefused(location, known);
}

/// The other locations of its host that no login is known for.
QStringList LoginDesk::openAtHostOf(const QString &location) const
{
    const QString host = loginHost(location);
    QStringList others;
    for (auto open = m_open.cbegin(); open != m_open.cend(); ++open) {
        if (!host.isEmpty() && loginHost(open->location) == host
            && open.key() != loginPlace(location)) {
            others << open->location;
        }
    }
    return others;
}

void LoginDesk::refused(const QString &location, const Login &used)
{
    const QString place = loginPlace(location);
    if (!used.isEmpty() && !wasRefused(location, used)) {
        m_tried[place] << used;
    }
    if (m_open.contains(place) || hasUntried(location)) {
        return;
    }
    m_open.insert(place, { location, Step::Reading });
    read(location, used, accountsOf(location));
}

void LoginDesk::read(const QString &location, const Login &used, const QStringList &accounts)
{
    if (hasUntried(location)) { // it came meanwhile
        m_open.remove(loginPlace(location));
        return;
    }
    if (accounts.isEmpty()) {
        ask(location, used);
        return;
    }
    m_secrets.readSecret(accounts.first(),
        [self = QPointer(this), location, used, accounts](const QString &secret) {
            if (!self || !self->isAt(location, Step::Reading)) {
                return;
            }
            const Login login = fromStored(secret);
            if (!login.isEmpty() && !self->wasRefused(location, login)) {
                self->m_known.remember(location, login);
            }
            self->read(location, used, accounts.mid(1));
        });
}

void LoginDesk::ask(const QString &location, const Login &used)
{
    const QStringList others = openAtHostOf(location);
    if (std::any_of(others.begin(), others.end(), [this](const QString &other) {
            return isAt(other, Step::Asked);
        })) {
        m_open.insert(loginPlace(location), { location, Step::Waiting });
        return;
    }
    m_open.insert(loginPlace(location), { location, Step::Asked });
    Q_EMIT wanted({ location,
        withoutSecrets(loginPlace(location)),
        used.user,
        !loginHost(location).isEmpty(),
        !used.isEmpty() });
}

void LoginDesk::answer(const QString &location, const Login &login)
{
    if (!login.isEmpty()) {
        keep(location, login);
        return;
    }
    m_known.remember(location, login);
    release(location, login);
}

void LoginDesk::keep(const QString &location, const Login &login)
{
    m_known.remember(location, login);
    m_tried.remove(loginPlace(location));
    release(location, login);
    for (const QString &account : accountsOf(location)) {
        write(account, login);
    }
}

/// The question is answered. What else is open at the host is tried with the login, unless it was
/// refused there; what waited is opened in any case, and refused it is asked for by itself.
void LoginDesk::release(const QString &location, const Login &login)
{
    m_open.remove(loginPlace(location));
    for (const QString &other : openAtHostOf(location)) {
        const bool isNew = !login.isEmpty() && !wasRefused(other, login);
        if (isNew) {
            m_known.remember(other, login);
        }
        if (isNew || isAt(other, Step::Waiting)) {
            m_open.remove(loginPlace(other));
        }
    }
}

void LoginDesk::write(const QString &account, const Login &login)
{
    m_secrets.writeSecret(account, stored(login), [self = QPointer(this)](bool written) {
        if (self && !written) {
            Q_EMIT self->said("No se pudo guardar en el almacén seguro del sistema");
        }
    });
}

void LoginDesk::decline(const QString &location)
{
    if (!isAt(location, Step::Asked)) {
        return; // it has a login by now
    }
    m_open.insert(loginPlace(location), { location, Step::Declined });
    for (const QString &other : openAtHostOf(location)) {
        if (isAt(other, Step::Waiting)) {
            m_open.insert(loginPlace(other), { other, Step::Declined });
        }
    }
    Q_EMIT said("Sin usuario y contraseña no se abre; \"Reiniciar video\" vuelve a pedirlos.");
}

void LoginDesk::askAnew(const QString &location)
{
    m_tried.remove(loginPlace(location));
    if (isAt(location, Step::Declined)) {
        m_open.remove(loginPlace(location));
    }
}

} // namespace nimbara

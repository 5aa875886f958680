#include "media/sources/source_login.h"

#include "base/secret_texts.h"

#include <QStringList>
#include <QUrl>

namespace nimbara {

namespace {

const auto passphraseItem = QStringLiteral("passphrase=");

QString decoded(const QString &encoded)
{
    return QUrl::fromPercentEncoding(encoded.toUtf8());
}

bool isSrt(const QString &location)
{
    return location.startsWith(QLatin1String("srt:"), Qt::CaseInsensitive);
}

/// Text operations, since a location goes to the library as it was typed.
SplitLocation splitUserInfo(const QString &location)
{
    const qsizetype begin = location.indexOf(QLatin1String("://")) + 3;
    qsizetype end = begin;
    while (end < location.size() && !QStringLiteral("/?#").contains(location.at(end))) {
        ++end;
    }
    const QString authority = location.mid(begin, end - begin);
    const qsizetype at = authority.lastIndexOf(u'@');
    if (at < 0) {
        return { location };
    }
    const QString info = authority.left(at);
    const qsizetype colon = info.indexOf(u':');
    return { location.left(begin) + authority.mid(at + 1) + location.mid(end),
        { decoded(colon < 0 ? info : info.left(colon)),
            colon < 0 ? QString() : decoded(info.mid(colon + 1)) } };
}

SplitLocation splitPassphrase(const QString &location)
{
    const qsizetype mark = location.indexOf(u'?');
    if (mark < 0) {
        return { location };
    }
    Login login;
    QStringList kept;
    for (const QString &item : location.mid(mark + 1).split(u'&')) {
        if (item.startsWith(passphraseItem)) {
            login.password = decoded(item.mid(passphraseItem.size()));
        } else {
            kept << item;
        }
    }
    const QString query = kept.isEmpty() ? QString() : u'?' + kept.join(u'&');
    return { location.left(mark) + query, login };
}

} // namespace

SplitLocation splitLogin(const QString &location)
{
    if (isSrt(location)) {
        return splitPassphrase(location);
    }
    const QString scheme = location.section(u':', 0, 0).toLower();
    static const QStringList takeUser { QStringLiteral("http"),
        QStringLiteral("https"),
        QStringLiteral("rtmp"),
        QStringLiteral("rtmps"),
        QStringLiteral("rtsp"),
        QStringLiteral("rtsps") };
    return takeUser.contains(scheme) ? splitUserInfo(location) : SplitLocation { location };
}

QString loginPlace(const QString &location)
{
    const QUrl url(splitLogin(location).location, QUrl::TolerantMode);
    return url.host() + (url.port() < 0 ? QString() : u':' + QString::number(url.port()))
        + url.path();
}

QString loginHost(const QString &location)
{
    if (isSrt(location)) {
        return {};
    }
    return QUrl(splitLogin(location).location, QUrl::TolerantMode).host();
}

void hideLogin(const Login &login)
{
    const QString pair = login.user + u':' + login.password;
    for (const QString &form : { login.password, pair }) {
        hideSecret(form);
        hideSecret(QString::fromLatin1(QUrl::toPercentEncoding(form, ":")));
    }
    hideSecret(QString::fromLatin1(pair.toUtf8().toBase64())); // Basic (RFC 7617)
}

Login KnownLogins::find(const QString &location) const
{
    const auto exact = m_logins.constFind(loginPlace(location));
    return exact != m_logins.cend() ? *exact : m_logins.value(loginHost(location));
}

Login KnownLogins::own(const QString &location) const
{
    return m_logins.value(loginPlace(location));
}

void KnownLogins::remember(const QString &location, const Login &login)
{
    for (const QString &key : { loginPlace(location), loginHost(location) }) {
        if (login.isEmpty() || key.isEmpty()) {
            m_logins.remove(key);
        } else {
            m_logins.insert(key, login);
        }
    }
    hideLogin(login);
}

void KnownLogins::fill(const QString &location, const Login &login)
{
    for (const QString &key : { loginPlace(location), loginHost(location) }) {
        if (!key.isEmpty() && !m_logins.contains(key)) {
            m_logins.insert(key, login);
        }
    }
    hideLogin(login);
}

} // namespace nimbara

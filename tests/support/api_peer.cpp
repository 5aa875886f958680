#include "support/api_peer.h"

#include <QFile>
#include <QJsonDocument>

#include <algorithm>
#include <utility>

namespace nimbara::testing {

namespace {

QString script(const char *name)
{
    return QStringLiteral(NIMBARA_SUPPORT_FOLDER "/") + QLatin1String(name);
}

void run(const QString &program, const QString &folder)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(program, { folder });
    if (!process.waitForFinished(120000) || process.exitCode() != 0) {
        qFatal("%s failed", qPrintable(program));
    }
}

} // namespace

ApiPeer::ApiPeer()
{
    const QString packages = QStringLiteral(NIMBARA_PEER_FOLDER "/node");
    const QString authority = QStringLiteral(NIMBARA_PEER_FOLDER "/ca");
    run(script("node_packages.sh"), packages);
    run(script("test_ca.sh"), authority);
    QFile pem(authority + QStringLiteral("/ca.pem"));
    if (!pem.open(QIODevice::ReadOnly)) {
        qFatal("no test authority");
    }
    m_endpoint.host = QStringLiteral("127.0.0.1");
    m_endpoint.trustedCaPem = pem.readAll();
    m_endpoint.port = 0;
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process.start(QStringLiteral("node"),
        { script("api_peer.mjs"),
            packages,
            authority + QStringLiteral("/server.pem"),
            authority + QStringLiteral("/server.key") });
    while (m_endpoint.port == 0 && m_process.waitForReadyRead(30000)) {
        readLines();
    }
    if (m_endpoint.port == 0) {
        qFatal("the API peer did not start");
    }
    QObject::connect(&m_process, &QProcess::readyReadStandardOutput, &m_process, [this] {
        readLines();
    });
}

ApiPeer::~ApiPeer()
{
    m_process.closeWriteChannel();
    m_process.waitForFinished(5000);
}

void ApiPeer::readLines()
{
    while (m_process.canReadLine()) {
        const QJsonObject event = QJsonDocument::fromJson(m_process.readLine()).object();
        if (event.value(QLatin1String("event")) == QLatin1String("listening")) {
            m_endpoint.port
                = static_cast<std::uint16_t>(event.value(QLatin1String("port")).toInt());
        }
        events.push_back(event);
        onEvent(event);
    }
}

void ApiPeer::command(const QJsonObject &command)
{
    m_process.write(QJsonDocument(command).toJson(QJsonDocument::Compact) + '\n');
}

void ApiPeer::live(const QString &mode)
{
    const int before = count(QStringLiteral("live"));
    command({ { QStringLiteral("do"), QStringLiteral("live") }, { QStringLiteral("mode"), mode } });
    while (count(QStringLiteral("live")) == before) {
        if (!m_process.waitForReadyRead(30000)) {
            qFatal("the API peer does not answer");
        }
        readLines();
    }
}

void ApiPeer::sendEvent(const QJsonObject &event)
{
    command({ { QStringLiteral("do"), QStringLiteral("send") },
        { QStringLiteral("text"), QString::fromUtf8(QJsonDocument(event).toJson()) } });
}

void ApiPeer::answer(const QJsonObject &request, const QJsonObject &reply, int status)
{
    command({ { QStringLiteral("do"), QStringLiteral("answer") },
        { QStringLiteral("id"), request.value(QLatin1String("id")) },
        { QStringLiteral("status"), status },
        { QStringLiteral("text"), QString::fromUtf8(QJsonDocument(reply).toJson()) } });
}

std::vector<QJsonObject> ApiPeer::of(const QString &kind, const QString &pathEnd) const
{
    std::vector<QJsonObject> found;
    std::copy_if(events.begin(),
        events.end(),
        std::back_inserter(found),
        [&](const QJsonObject &event) {
            return event.value(QLatin1String("event")).toString() == kind
                && event.value(QLatin1String("path")).toString().endsWith(pathEnd);
        });
    return found;
}

int ApiPeer::count(const QString &kind, const QString &pathEnd) const
{
    return static_cast<int>(of(kind, pathEnd).size());
}

} // namespace nimbara::testing

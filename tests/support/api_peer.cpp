#include "support/api_peer.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>

namespace nimbara::testing {

using namespace Qt::StringLiterals;

namespace {

const QString scripts = QStringLiteral(NIMBARA_SUPPORT_FOLDER "/");
const QString authority = QStringLiteral(NIMBARA_PEER_FOLDER "/ca");

} // namespace

QString field(const QJsonObject &object, const char *name)
{
    return object.value(QLatin1String(name)).toString();
}

ApiPeer::ApiPeer()
{
    if (QProcess::execute(scripts + u"test_ca.sh"_s, { authority }) != 0) {
        qFatal("test_ca.sh failed");
    }
    QFile pem(authority + u"/ca.pem"_s);
    if (pem.open(QIODevice::ReadOnly)) {
        m_endpoint.trustedCaPem = pem.readAll();
    }
    m_endpoint.host = u"127.0.0.1"_s;
    m_endpoint.port = 0;
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process.start(u"node"_s,
        { scripts + u"api_peer.mjs"_s,
            authority + u"/server.pem"_s,
            authority + u"/server.key"_s });
    while (m_endpoint.port == 0) {
        if (!m_process.waitForReadyRead(30000)) {
            qFatal("the API peer did not start");
        }
        readLines();
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
        if (field(event, "event") == u"listening") {
            m_endpoint.port = static_cast<std::uint16_t>(event.value(u"port").toInt());
        }
        events.push_back(event);
        if (onEvent) {
            onEvent(event);
        }
    }
}

void ApiPeer::live(const QByteArray &mode)
{
    const int before = count("live");
    command(R"({"do":"live","mode":")" + mode + "\"}");
    while (count("live") == before && m_process.waitForReadyRead(30000)) {
        readLines();
    }
}

void ApiPeer::send(const QByteArray &text, bool fin, bool mask)
{
    const QJsonObject object { { u"do"_s, u"send"_s },
        { u"text"_s, QString::fromUtf8(text) },
        { u"fin"_s, fin },
        { u"mask"_s, mask } };
    command(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

void ApiPeer::sendTranscript(const QByteArray &text)
{
    send("{\"type\":\"conversation.item.input_audio_transcription.completed\",\"transcript\":\""
        + text + "\"}");
}

void ApiPeer::serve(const QList<QPair<QString, QString>> &phrases,
    int delayMs,
    const QByteArray &voice)
{
    QJsonArray script;
    for (const auto &[heard, caption] : phrases) {
        script.append(QJsonObject { { u"heard"_s, heard }, { u"caption"_s, caption } });
    }
    const QJsonObject object { { u"do"_s, u"serve"_s },
        { u"delay"_s, delayMs },
        { u"phrases"_s, phrases.isEmpty() ? QJsonValue() : script },
        { u"voice"_s, QString::fromLatin1(voice.toBase64()) } };
    command(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

void ApiPeer::answer(const QJsonObject &request, const QByteArray &body, int status)
{
    command(R"({"do":"answer","id":)" + QByteArray::number(request.value(u"id").toInt())
        + ",\"status\":" + QByteArray::number(status) + ",\"base64\":\"" + body.toBase64() + "\"}");
}

void ApiPeer::drop(const QJsonObject &request, bool inBody)
{
    command(R"({"do":"drop","id":)" + QByteArray::number(request.value(u"id").toInt())
        + ",\"cut\":" + (inBody ? "true" : "false") + '}');
}

std::vector<QJsonObject> ApiPeer::of(const char *kind, const char *pathEnd) const
{
    std::vector<QJsonObject> found;
    std::copy_if(events.begin(), events.end(), std::back_inserter(found), [&](const auto &event) {
        return field(event, "event") == QLatin1String(kind)
            && field(event, "path").endsWith(QLatin1String(pathEnd));
    });
    return found;
}

int ApiPeer::count(const char *kind, const char *pathEnd) const
{
    return static_cast<int>(of(kind, pathEnd).size());
}

} // namespace nimbara::testing

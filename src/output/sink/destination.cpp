#include "output/sink/destination.h"

#include "base/error.h"
#include "base/log.h"
#include "base/secret_texts.h"

#include <QRegularExpression>
#include <QUrl>

namespace nimbara {

namespace {

Message stoppedText()
{
    return "Detenido";
}

} // namespace

const std::array<DestinationPreset, destinationCount> &destinationPresets()
{
    static constexpr std::array<DestinationPreset, destinationCount> presets { {
        { "YouTube", "rtmps://a.rtmps.youtube.com/live2" },
        { "Facebook", "rtmps://live-api-s.facebook.com:443/rtmp" },
        { "Twitch", "rtmp://live.twitch.tv/app" },
        { "Otro RTMP", "rtmp://" },
    } };
    return presets;
}

QString checkedServer(const QString &text)
{
    const QUrl url(text.trimmed(), QUrl::TolerantMode);
    const bool knownScheme
        = url.scheme() == QLatin1String("rtmp") || url.scheme() == QLatin1String("rtmps");
    const bool bare = url.userInfo().isEmpty() && !url.hasQuery() && !url.hasFragment();
    if (!url.isValid() || !knownScheme || url.host(QUrl::FullyDecoded).isEmpty() || !bare) {
        throw Error(QStringLiteral("Servidor RTMP/RTMPS inválido. Separa la clave del servidor."));
    }
    if (url.path().remove(QLatin1Char('/')).isEmpty()) {
        throw Error(QStringLiteral("Al servidor RTMP le falta la aplicación, por ejemplo "
                                   "rtmp://servidor/live"));
    }
    return url.toString(QUrl::FullyEncoded);
}

QString checkedKey(const QString &text)
{
    static const QRegularExpression forbidden(QStringLiteral(R"([\s?#])"));
    QString key = text.trimmed();
    if (key.isEmpty() || key.contains(forbidden)) {
        throw Error(QStringLiteral("Clave de transmisión inválida"));
    }
    if (key.endsWith(QLatin1Char('/'))) {
        throw Error(QStringLiteral("La clave de transmisión no puede terminar en «/»"));
    }
    return key;
}

QString streamLocation(const QString &server, const QString &key)
{
    return server.endsWith(QLatin1Char('/')) ? server + key : server + QLatin1Char('/') + key;
}

void hideStreamKey(const QString &key)
{
    const QString given = key.trimmed();
    const QUrl url(QStringLiteral("rtmp://host/") + given);
    for (const QString &form :
        { given, url.path(QUrl::FullyEncoded).mid(1), url.path(QUrl::FullyDecoded).mid(1) }) {
        hideSecret(form);
        for (const QString &piece : form.split(QLatin1Char('/'))) {
            hideSecret(piece);
        }
    }
}

QString startLogLine(const QString &name, const QString &server, const QString &key)
{
    // One call for all the texts: a "%" inside one is never taken for a place.
    return QStringLiteral("Salida %1: servidor=%2 clave: %3 caracteres, empieza \"%4\"")
        .arg(name, server, QString::number(key.size()), key.size() < 5 ? key : key.left(4));
}

Destination::Destination(QString name,
    std::shared_ptr<Retirement> retirement,
    EncoderPool &encoders)
    : m_name(std::move(name))
    , m_status(stoppedText())
    , m_retirement(std::move(retirement))
    , m_encoders(encoders)
{
}

Destination::~Destination()
{
    m_retirement->retire(std::move(m_output));
}

void Destination::start(const QString &server,
    const QString &key,
    FrameSize size,
    std::int32_t bitrate)
{
    const QString url = checkedServer(server);
    const QString given = checkedKey(key);
    hideStreamKey(given); // it may have been pasted into the server field as well
    logLine(startLogLine(m_name, withoutSecrets(url), given));
    m_output = std::make_unique<Output>(size.width,
        size.height,
        true,
        streamLocation(url, given),
        bitrate,
        &m_encoders);
    m_status = "Enviando · confirma recepción en la plataforma";
}

void Destination::stop()
{
    m_retirement->retire(std::move(m_output));
    m_status = stoppedText();
}

bool Destination::push(const FramePtr &frame, std::span<const float> block, std::int64_t tNs)
{
    if (!m_output) {
        return false;
    }
    m_output->stamp(tNs);
    m_output->pushVideo(frame);
    m_output->pushAudio(block);
    m_output->pollOutput();
    if (m_output->running()) {
        return false;
    }
    m_status = m_output->error();
    m_failure = m_output->failure();
    m_retirement->retire(std::move(m_output));
    return true;
}

Message Destination::buttonText() const
{
    return running() ? "Detener" : "Iniciar";
}

} // namespace nimbara

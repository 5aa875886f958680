#include "output/sink/recording.h"

#include "base/log.h"

namespace nimbara {

Message recordingButtonText(RecordingState state)
{
    switch (state) {
    case RecordingState::recording:
        return "■ Detener grabación";
    case RecordingState::finishing:
        return "Finalizando...";
    case RecordingState::idle:
        break;
    }
    return "● Grabar";
}

Message Recording::startedText()
{
    return "Grabando Programa y audio seleccionado.";
}

Message Recording::savedText()
{
    return "Grabación guardada correctamente";
}

Recording::Recording(std::shared_ptr<Retirement> retirement, EncoderPool &encoders)
    : m_retirement(std::move(retirement))
    , m_encoders(encoders)
{
}

Recording::~Recording()
{
    abandon();
}

std::unique_ptr<Output>
Recording::makeOutput(const QString &path, FrameSize size, Output::Begin begin)
{
    return std::make_unique<Output>(size.width,
        size.height,
        false,
        path,
        m_bitrate,
        &m_encoders,
        begin);
}

void Recording::start(const QString &path, FrameSize size, std::int32_t bitrate)
{
    m_bitrate = bitrate;
    m_output = makeOutput(path, size, Output::Begin::AtOnce);
}

void Recording::startPart(const QString &path)
{
    m_nextPart = makeOutput(path, m_output->size(), Output::Begin::WhereAnotherEnds);
    pollNextPart();
}

/// Until its file is open all goes on in the present one.
void Recording::pollNextPart()
{
    if (!m_nextPart) {
        return;
    }
    m_nextPart->pollOutput();
    if (!m_nextPart->running()) {
        m_partStart = false;
        callOffPart();
    } else if (m_nextPart->isOpen()) {
        m_partStart = true;
        m_nextPart->goOnFrom(*m_output);
        m_retirement->retire(std::move(m_lastPart));
        m_lastPart = std::exchange(m_output, std::move(m_nextPart));
    }
}

void Recording::callOffPart()
{
    m_retirement->retire(std::move(m_nextPart));
}

void Recording::endEncoder()
{
    if (m_output) {
        m_output->endEncoder();
    }
}

void Recording::abandon()
{
    callOffPart();
    m_retirement->retire(std::move(m_lastPart));
    m_retirement->retire(std::move(m_output));
}

std::optional<OutletFigures> Recording::figures() const
{
    return m_output ? std::optional(m_output->figures()) : std::nullopt;
}

bool Recording::finish()
{
    callOffPart();
    const bool givesUp = m_lastPart && m_lastPart->running() && m_output && !m_output->ready()
        && !m_output->stopping();
    if (givesUp) {
        m_lastPart->takeBack();
        m_retirement->retire(std::exchange(m_output, std::move(m_lastPart)));
    }
    if (m_output) {
        m_output->finish();
    }
    return givesUp;
}

std::optional<Message>
Recording::push(const FramePtr &frame, std::span<const float> block, std::int64_t tNs)
{
    if (m_output) {
        m_output->stamp(tNs);
        m_output->pushVideo(frame);
        m_output->pushAudio(block);
    }
    return poll();
}

/// Its end takes nothing from the one that is being written.
void Recording::pollLastPart()
{
    if (!m_lastPart) {
        return;
    }
    m_lastPart->pollOutput();
    if (!m_lastPart->running()) {
        m_partEnd = m_lastPart->finished();
        if (!m_lastPart->finished()) {
            logLine(QStringLiteral("Recording, last part: ") + m_lastPart->error().spanish());
        }
        m_retirement->retire(std::move(m_lastPart));
    }
}

std::optional<Message> Recording::poll()
{
    pollNextPart();
    pollLastPart();
    if (!m_output) {
        return std::nullopt;
    }
    m_output->pollOutput();
    return completionCheck();
}

std::optional<Message> Recording::completionCheck()
{
    if (m_output->running()) {
        return std::nullopt;
    }
    const Message status = m_output->finished() ? savedText() : m_output->error();
    callOffPart();
    m_retirement->retire(std::move(m_output));
    return status;
}

RecordingState Recording::state() const
{
    if (!m_output) {
        return RecordingState::idle;
    }
    return m_output->stopping() ? RecordingState::finishing : RecordingState::recording;
}

} // namespace nimbara

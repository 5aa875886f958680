#include "output/sink/recording.h"

namespace nimbara {

QString recordingButtonText(RecordingState state)
{
    switch (state) {
    case RecordingState::recording:
        return QStringLiteral("■ Detener grabación");
    case RecordingState::finishing:
        return QStringLiteral("Finalizando...");
    case RecordingState::idle:
        break;
    }
    return QStringLiteral("● Grabar");
}

QString Recording::startedText()
{
    return QStringLiteral("Grabando Programa y audio seleccionado.");
}

QString Recording::savedText()
{
    return QStringLiteral("Grabación guardada correctamente");
}

Recording::Recording(std::shared_ptr<Retirement> retirement)
    : m_retirement(std::move(retirement))
{
}

Recording::~Recording()
{
    m_retirement->retire(std::move(m_output));
}

void Recording::start(const QString &path, FrameSize size)
{
    m_output = std::make_unique<Output>(size.width, size.height, false, path, outputBitrate);
}

void Recording::finish()
{
    if (m_output) {
        m_output->finish();
    }
}

std::optional<QString>
Recording::push(const FramePtr &frame, std::span<const float> block, std::int64_t tNs)
{
    if (m_output) {
        m_output->stamp(tNs);
        m_output->pushVideo(frame);
        m_output->pushAudio(block);
    }
    return poll();
}

std::optional<QString> Recording::poll()
{
    if (!m_output) {
        return std::nullopt;
    }
    m_output->pollOutput();
    return completionCheck();
}

std::optional<QString> Recording::completionCheck()
{
    if (m_output->running()) {
        return std::nullopt;
    }
    const QString status = m_output->finished() ? savedText() : m_output->error();
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

#pragma once

#include <QByteArray>
#include <QString>

/// Messages to the live transcription session (OpenAI realtime API, transcription intent). Pure,
/// but for the environment that `fromEnvironment` reads.
namespace nimbara::live {

/// What shapes a session.
struct SessionSettings {
    bool turnMode = false; ///< the model for whole turns, cut by the server
    QString language; ///< source language code; empty: not told
    QString prompt; ///< streaming mode only
    QString delay = QStringLiteral("low"); ///< VESPERLINE_LIVE_DELAY; streaming mode only
    QString noiseReduction = QStringLiteral("near_field"); ///< VESPERLINE_LIVE_NR
};

/// Settings with the tuning of the environment: turn mode when VESPERLINE_LIVE_MODEL is
/// "gpt-4o-transcribe", the delay and the noise reduction when theirs are set.
SessionSettings fromEnvironment(const QString &language, const QString &prompt);

/// "session.update" with the whole configuration.
QByteArray sessionUpdate(const SessionSettings &settings);

/// "input_audio_buffer.append" of little-endian 16-bit mono PCM at 24000 Hz.
QByteArray audioAppend(const QByteArray &pcm);

/// "input_audio_buffer.commit": the audio so far is a phrase.
QByteArray audioCommit();

} // namespace nimbara::live

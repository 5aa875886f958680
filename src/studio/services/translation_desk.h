#pragma once

#include "base/clock.h"
#include "net/endpoints.h"
#include "studio/edit/stage.h"
#include "studio/programs/program_audio_desk.h"
#include "studio/report.h"
#include "studio/sources/audio_input.h"
#include "translation/pipeline/caption_text.h"
#include "translation/pipeline/engine.h"
#include "translation/service/key_test.h"

#include <QString>

namespace nimbara {

/// The live translation at work: hears the audio input, puts the captions on the stage and the
/// synthetic voice into the program's sound. Interface thread only.
class TranslationDesk {
public:
    /// Everything referred to must outlive the desk.
    TranslationDesk(const Clock &clock,
        const Endpoint &openAi,
        Stage &stage,
        AudioInput &input,
        ProgramAudioDesk &sound);

    /// Throws `Error` "Conecta una entrada de voz antes de iniciar IA" unless a capture runs.
    void requireVoiceInput() const;

    /// Begins a run in the language that is preached (`setTarget`). Throws `Error` for a blank key.
    void start(const QString &key, const QString &target, bool voice);

    /// Ends the run, and takes voice and captions away.
    void pause();

    /// Ends the run for another language: the captions leave, a voice that speaks goes on.
    void stopForRestart();

    [[nodiscard]] bool running() const { return m_engine.running(); }

    /// The language that is preached: "es", "en" or empty for any other.
    void setSource(const QString &source) { m_source = source; }
    /// Without live mode every phrase is uploaded. Takes effect at the next start.
    void setLiveMode(bool live) { m_engine.setLiveDisabled(!live); }

    void setSeparator(CaptionSeparator separator);
    void setCaptionsShown(bool shown) { m_stage.captions.shown = shown; }
    void clearCaptions();
    /// Takes captions away that are too old. Call on each frame, before its pictures.
    void clearOldCaptions();

    /// One small request with the operator's key, whether or not a run is on.
    [[nodiscard]] KeyTest &keyTest() { return m_keyTest; }

    /// What the engine has to say, translated, for the panel and the status line. Never empty.
    Report onStatus = [](const QString &) {};
    /// What was understood; see `Translation::heard`. Never empty.
    Report onHeard = [](const QString &) {};

private:
    void addCaption(const QString &text);
    void showCaptions();
    void tell(const QString &text);

    const Clock &m_clock;
    Stage &m_stage;
    const AudioInput &m_input;
    ProgramAudioDesk &m_sound;
    CaptionText m_captions;
    QString m_source;
    KeyTest m_keyTest;
    Translation m_engine;
};

} // namespace nimbara

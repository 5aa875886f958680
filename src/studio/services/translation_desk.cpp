#include "studio/services/translation_desk.h"

#include "base/error.h"
#include "base/i18n.h"
#include "translation/pipeline/voice.h"

namespace nimbara {

TranslationDesk::TranslationDesk(const Clock &clock,
    const Endpoint &openAi,
    Stage &stage,
    AudioInput &input,
    ProgramAudioDesk &sound)
    : m_clock(clock)
    , m_stage(stage)
    , m_input(input)
    , m_sound(sound)
    , m_keyTest(clock, openAi)
    , m_engine(clock, openAi)
{
    QObject::connect(&input, &AudioInput::blockArrived, &input, [this](const AudioBlock &block) {
        m_engine.processAudio(block);
    });
    m_engine.caption = [this](const QString &text) { addCaption(text); };
    m_engine.heard = [this](const QString &text) { onHeard(text); };
    m_engine.voiceAudio = [this](const QByteArray &pcm) { queueVoice(m_sound.voice(), pcm); };
    m_engine.statusChanged = [this](const QString &text) { tell(text); };
    showCaptions();
}

void TranslationDesk::requireVoiceInput() const
{
    if (m_input.capture() == nullptr || !m_input.capture()->running()) {
        throw Error(QStringLiteral("Conecta una entrada de voz antes de iniciar IA"));
    }
}

void TranslationDesk::start(const QString &key, const QString &target, bool voice)
{
    m_engine.start(key, target, voice, m_source);
}

void TranslationDesk::pause()
{
    m_engine.stopEngine();
    m_sound.voice().clear();
    clearCaptions();
}

void TranslationDesk::stopForRestart()
{
    m_engine.stopEngine();
    clearCaptions();
}

void TranslationDesk::setSeparator(CaptionSeparator separator)
{
    m_captions.setSeparator(separator);
    showCaptions();
}

void TranslationDesk::clearCaptions()
{
    m_captions.clear();
    showCaptions();
}

void TranslationDesk::clearOldCaptions()
{
    if (m_captions.clearOld(m_clock.wallMs())) {
        showCaptions();
    }
}

void TranslationDesk::addCaption(const QString &text)
{
    SceneSets &scenes = m_stage.scenes;
    const Scene &current = scenes.currentScene();
    m_captions.addCaption(text,
        captionBox(current, scenes.editedScenes(), m_stage.streamFrame()),
        m_clock.wallMs());
    showCaptions();
}

void TranslationDesk::showCaptions()
{
    m_stage.captions.phrases = m_captions.captionPhrases();
    m_stage.captions.separator = separatorText(m_captions.separator());
}

void TranslationDesk::tell(const QString &text)
{
    // A message of an engine that has stopped: what is still on screen and in the air goes too.
    if (!running()) {
        clearCaptions();
        m_sound.voice().clear();
    }
    onStatus(nimbara_i18n::tr(text));
}

} // namespace nimbara

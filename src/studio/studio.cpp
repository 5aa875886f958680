#include "studio/studio.h"

#include "base/i18n.h"
#include "compositor/scene/load_image.h"
#include "secrets/keychain_store.h"
#include "studio/edit/profile_change.h"
#include "studio/outputs/closing.h"

namespace nimbara {

Studio::Studio(const Clock &clock, StudioPeers peers)
    : m_clock(clock)
    , m_settings(QStringLiteral("Halvenmoor"), QStringLiteral("NimbaraStudio"))
    , m_keychain(peers.keychain ? std::move(peers.keychain) : std::make_unique<KeychainStore>())
    , m_secrets(*m_keychain)
    , m_retirement(std::make_shared<Retirement>())
    , m_factory(clock, m_retirement)
    , m_sources(clock, m_factory, [this](const QString &text) { status(text); })
    , m_audio(m_retirement, [this](const QString &text) { status(text); })
    , m_devices(clock,
          m_factory,
          peers.permission ? std::move(peers.permission) : systemCapturePermission(),
          m_stage,
          m_sources,
          m_audio,
          [this](const QString &text) { status(text); })
    , m_programAudio(clock)
    , m_program(clock,
          m_factory,
          m_sources,
          m_stage,
          m_pictures,
          [this](const QString &text) { status(text); })
    , m_layers(m_factory, m_stage, [this](const QString &text) { status(text); })
    , m_images(m_stage)
    , m_outputs(m_retirement)
    , m_streams(m_outputs, m_stage, m_secrets)
    , m_projects(m_factory,
          m_outputs,
          m_stage,
          m_sources,
          [this](const QString &text) { status(text); })
    , m_translation(clock,
          peers.openAi,
          { m_stage, m_audio, m_programAudio, m_secrets, m_settings })
    , m_bibleKey(m_secrets, secret_account::apiBible())
    , m_verses(peers.openAi, peers.apiBible, m_stage, [this](const QString &text) { status(text); })
    , m_schedule(clock.monotonicUs())
{
    for (const SceneSet set : { SceneSet::Hall, SceneSet::Streams }) {
        m_stage.scenes.setEditing(set);
        static_cast<void>(m_stage.scenes.currentScene()); // gives an empty set its default scene
    }
    m_sources.setBars(m_factory.testBars(m_stage.streamFrame()), Sources::testBars);
    m_verses.setKeys([this](const auto &receiver) { m_bibleKey.withKey(receiver); },
        [this](const auto &receiver) { m_translation.key().withKey(receiver); });
    connect(&m_translation, &TranslationDesk::said, this, &Studio::status);
    connect(&m_streams, &StreamDesk::said, this, &Studio::status);
}

Studio::~Studio() = default;

void Studio::tick()
{
    readInputs();
    const std::int64_t now = m_clock.monotonicUs();
    const std::optional<std::int64_t> frameTime = m_schedule.due(now);
    if (!frameTime) {
        return;
    }
    m_sources.logFirstFrame();
    m_translation.clearOldCaptions();
    const Pictures pictures = composePictures(now);
    Q_EMIT picturesMade(pictures);
    feedOutputs(pictures.streams, *frameTime);
}

void Studio::readInputs()
{
    m_sources.poll(m_stage);
    m_sources.reopenCamera(m_stage.streamFrame());
    m_devices.poll();
    m_projects.poll();
    m_images.poll();
    m_audio.pull();
    m_retirement->reap();
}

void Studio::changeProfile(StreamProfile profile)
{
    if (!m_outputs.any()) {
        nimbara::changeProfile(profile, m_factory, m_stage, m_sources, [this](const QString &text) {
            status(text);
        });
    }
}

void Studio::shutDown()
{
    m_streams.callOffStarts();
    m_translation.shutDown();
    finishOutputs(m_outputs.recording(), m_streams);
}

Pictures Studio::composePictures(std::int64_t now)
{
    const FramePtr camera = m_sources.cameraFrame();
    Pictures pictures { m_pictures.preview(m_stage, camera),
        m_pictures.streams(m_stage, camera),
        m_pictures.hall(m_stage, camera) };
    m_diagnostics.observe(m_stage, m_sources, pictures.preview);
    pictures.streams = m_stage.program.fade(pictures.streams, now);
    return pictures;
}

void Studio::feedOutputs(const QImage &streams, std::int64_t frameTime)
{
    const ProgramBlock block = m_programAudio.next(m_stage, m_audio);
    if (!m_outputs.any()) {
        return;
    }
    const std::int64_t timeNs = (frameTime - m_schedule.origin()) * 1000;
    const Outputs::Stopped stopped = m_outputs.push(toFrame(streams), block, timeNs);
    if (stopped.recording) {
        Q_EMIT status(nimbara_i18n::tr(*stopped.recording));
    }
    Q_EMIT outputsStepped();
}

} // namespace nimbara

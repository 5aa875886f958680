#include "studio/services/translation_desk.h"

#include "base/error.h"
#include "base/log.h"
#include "translation/pipeline/delay_text.h"
#include "translation/pipeline/heard_line.h"
#include "translation/pipeline/voice.h"
#include "translation/service/languages.h"
#include "translation/service/openai/openai_service.h"

#include <QPointer>

namespace nimbara {

namespace {

const QString targetSetting = QStringLiteral("translation_target");
const QString secondSetting = QStringLiteral("translation_second_target");
const QString voiceSetting = QStringLiteral("translation_voice_target"); ///< by `Target`
const QString sourceSetting = QStringLiteral("source_language");
const QString liveSetting = QStringLiteral("live_mode");
const QString separatorSetting = QStringLiteral("caption_separator");
const QString holdSetting = QStringLiteral("caption_hold"); ///< in seconds

} // namespace

TranslationDesk::TranslationDesk(const Clock &clock,
    const Endpoint &openAi,
    const Surroundings &surroundings)
    : m_clock(clock)
    , m_stage(surroundings.stage)
    , m_input(surroundings.input)
    , m_sound(surroundings.sound)
    , m_settings(surroundings.settings)
    , m_key(surroundings.secrets, secret_account::openAi())
    , m_keepsKey(!m_key.text().isEmpty())
    , m_screens { CaptionScreen(clock), CaptionScreen(clock) }
    , m_keyTest(clock, openAi)
    , m_engine(clock, std::make_unique<OpenAiProvider>(clock, openAi))
{
    readSettings();
    connectEngine(surroundings.input);
    connectScreens();
    showCaptions();
}

void TranslationDesk::readSettings()
{
    m_target = m_settings.value(targetSetting, languages::defaultTarget()).toString();
    m_second = m_settings.value(secondSetting).toString();
    m_source = m_settings.value(sourceSetting, languages::sourceFor(m_target)).toString();
    m_engine.setVoiceTarget(
        m_settings.value(voiceSetting, 0).toInt() == 1 ? Target::Second : Target::First);
    m_engine.setLiveDisabled(!m_settings.value(liveSetting, true).toBool());
    for (CaptionScreen &each : m_screens) {
        each.setSeparator(captionSeparator(m_settings.value(separatorSetting, 1).toInt()));
    }
    m_engine.setHold(m_settings.value(holdSetting, 0).toInt() * 1000LL);
}

void TranslationDesk::connectEngine(AudioInput &input)
{
    connect(&input, &AudioInput::blockArrived, this, [this](const AudioBlock &block) {
        m_engine.processAudio(block);
        watchLevel(block);
    });
    connect(&input, &AudioInput::mutedChanged, this, &TranslationDesk::watchLevelAnew);
    connect(&input, &AudioInput::lostChanged, this, &TranslationDesk::watchLevelAnew);
    m_engine.caption = [this](const Caption &caption) { screen(caption.target).add(caption); };
    m_engine.understood
        = [this](const QString &text, bool isGrowing) { Q_EMIT understood(text, isGrowing); };
    connect(&m_stage.document, &Document::changed, this, [this](const Change &change) {
        if (change.terms) {
            m_engine.setTerms(m_stage.document.project().terms);
        }
    });
    m_engine.heard = [this](const Message &text) { tellHeard(text); };
    m_engine.voiceAudio = [this](const QByteArray &pcm, Target target) {
        queueVoice(m_sound.voice(), pcm);
        m_clipTarget = target;
    };
    m_engine.statusChanged = [this](const Message &message) { tell(message); };
    m_engine.captionNotice = [this](const Message &message) {
        m_quietVoice.clear(); // a caption proves that the voice is heard
        logLine(QStringLiteral("IA: ") + message.spanish());
        Q_EMIT captionNoted(message);
    };
    m_engine.roadChanged = [this] { Q_EMIT changed(); };
    m_engine.heldChanged = [this] { Q_EMIT heldChanged(); };
    m_engine.ended = [this] { pause(); };
    m_engine.secondEnded = [this] { endSecond(); };
    m_keyTest.status = [this](const Message &message) {
        Q_EMIT reported(message);
        Q_EMIT said(message);
    };
}

void TranslationDesk::connectScreens()
{
    for (const Target target : bothTargets) {
        CaptionScreen &each = screen(target);
        connect(&each, &CaptionScreen::changed, this, &TranslationDesk::showCaptions);
        connect(&each, &CaptionScreen::captionShown, this, &TranslationDesk::captionShown);
        connect(&each, &CaptionScreen::blockShown, this, [this, target](const QString &block) {
            Q_EMIT blockShown(block, target);
        });
        connect(&each, &CaptionScreen::paceChanged, this, [this, target](bool isHurried) {
            tellPace(target, isHurried);
        });
    }
}

/// Runs what the operator or the store started; a failure is told.
template <typename Step> void TranslationDesk::run(Step step)
{
    try {
        step();
    } catch (const std::exception &error) {
        Q_EMIT failed(errorMessage(error));
    }
}

void TranslationDesk::requireVoiceInput() const
{
    if (m_input.capture() == nullptr || !m_input.capture()->running()) {
        throw Error(QStringLiteral("Conecta una entrada de voz antes de iniciar IA"));
    }
}

void TranslationDesk::toggle()
{
    if (running()) {
        pause();
        return;
    }
    if (m_isWaiting) {
        return;
    }
    run([this] {
        requireVoiceInput();
        m_engine.countAnew();
        setWaiting(true);
        const QString typed = m_key.text().trimmed();
        // An empty key is filled from the store, and must not empty it first.
        if (!m_keepsKey || typed.isEmpty()) {
            start();
            return;
        }
        m_key.save(typed, [self = QPointer(this)](bool stored) {
            if (!self) {
                return;
            }
            if (stored) {
                self->start();
                return;
            }
            self->setWaiting(false);
            Q_EMIT self->failed(QStringLiteral("No se pudo guardar API en almacén seguro"));
        });
    });
}

void TranslationDesk::start()
{
    m_key.withKey([this](const QString &key) {
        if (!m_isShutDown) {
            begin(key);
        }
    });
}

void TranslationDesk::begin(const QString &key)
{
    setWaiting(false);
    run([&] {
        m_engine.start(key, targetName(), m_voice, m_source, secondName());
        for (CaptionScreen &each : m_screens) {
            each.delays().clear();
            each.letGo(); // what is left of the run before goes into its own files
        }
        m_languages = { targetName(), secondName() };
        m_hasSecondEnded = false;
        m_quietVoice.clear();
        if (!m_sound.voice().empty()) { // it belongs to the languages before
            m_clipTarget.reset();
        }
        showCaptions();
        Q_EMIT began();
        Q_EMIT changed();
    });
}

QString TranslationDesk::targetName() const
{
    return m_target.isEmpty() ? languages::defaultTarget() : m_target;
}

QString TranslationDesk::secondName() const
{
    const QString name = m_second.trimmed();
    return name.compare(targetName().trimmed(), Qt::CaseInsensitive) == 0 ? QString() : name;
}

void TranslationDesk::setWaiting(bool waiting)
{
    m_isWaiting = waiting;
    Q_EMIT changed();
}

void TranslationDesk::pause()
{
    m_engine.stopEngine();
    m_sound.voice().clear();
    clearCaptions();
    letHeldGo();
    m_quietVoice.clear();
    Q_EMIT captionNoted({});
    reportDelays();
    Q_EMIT changed();
}

Message TranslationDesk::labelled(Target target, const Message &text) const
{
    return languageOf(Target::Second).isEmpty()
        ? text
        : Message::verbatim(languageOf(target) + QStringLiteral(": ")) + text;
}

/// At the end of a run.
void TranslationDesk::reportDelays()
{
    Message reports;
    for (const Target target : bothTargets) {
        DelayMeter &delays = screen(target).delays();
        const DelayMeter::Figures whole = delays.whole();
        delays.clear();
        if (whole.phrases == 0) {
            continue;
        }
        const Message report = labelled(target,
            Message("Retraso de la traducción: mediana %1 s, 9 de cada 10 en %2 s, %3 frases.",
                { delay_text::seconds(whole.medianMs),
                    delay_text::seconds(whole.p90Ms),
                    Message::verbatim(QString::number(whole.phrases)) }));
        logLine(QStringLiteral("IA: ") + (report + delay_text::stages(whole)).spanish());
        reports = reports.isEmpty() ? report
                                    : reports + Message::verbatim(QStringLiteral(" ")) + report;
    }
    if (!reports.isEmpty()) {
        Q_EMIT captionNoted(reports);
        Q_EMIT delayed();
    }
}

DelayMeter::Figures TranslationDesk::delayFigures(Target target) const
{
    return screen(target).delays().figures(m_clock.wallMs());
}

QList<std::int64_t> TranslationDesk::delayCurve() const
{
    return screen(Target::First).delays().curve(m_clock.wallMs());
}

void TranslationDesk::shutDown()
{
    m_isShutDown = true;
    pause();
    for (CaptionScreen &each : m_screens) {
        each.letGo();
    }
}

void TranslationDesk::testKey(const KeyTest::Answered &answered)
{
    m_key.withKey([this, answered](const QString &key) {
        if (m_keepsKey && !key.isEmpty()) {
            m_key.save(key, [](bool) {});
        }
        run([&] { m_keyTest.run(key, answered); });
    });
}

void TranslationDesk::setKeepsKey(bool keeps)
{
    m_keepsKey = keeps;
    Q_EMIT changed();
}

void TranslationDesk::setSource(const QString &source)
{
    m_source = source;
    m_settings.setValue(sourceSetting, source);
}

void TranslationDesk::chooseTarget(const QString &language)
{
    m_target = language.trimmed();
    m_settings.setValue(targetSetting, m_target);
    setSource(languages::sourceFor(m_target));
    Q_EMIT changed();
}

void TranslationDesk::chooseSecondTarget(const QString &language)
{
    m_second = language.trimmed();
    m_settings.setValue(secondSetting, m_second);
    Q_EMIT changed();
}

void TranslationDesk::switchTarget(const QString &language)
{
    chooseTarget(language);
    if (running()) {
        m_engine.stopEngine(); // a voice that speaks goes on
        clearCaptions();
        letHeldGo();
        watchLevelAnew();
        reportDelays();
        setWaiting(true);
        start();
    }
    const bool spanish = language == QLatin1String("Spanish");
    Q_EMIT said(Message("Pantallas en ") + (spanish ? "español" : "inglés")
        + Message::verbatim(QStringLiteral(".")));
}

void TranslationDesk::setLiveMode(bool live)
{
    m_engine.setLiveDisabled(!live);
    m_settings.setValue(liveSetting, live);
    Q_EMIT changed();
}

void TranslationDesk::setVoice(bool voice)
{
    m_voice = voice;
    Q_EMIT changed();
}

void TranslationDesk::setVoiceTarget(Target target)
{
    m_engine.setVoiceTarget(target);
    m_settings.setValue(voiceSetting, static_cast<int>(target));
    Q_EMIT changed();
}

void TranslationDesk::setSeparator(CaptionSeparator separator)
{
    for (CaptionScreen &each : m_screens) {
        each.letGo(); // while the separator of both is the one before
    }
    for (CaptionScreen &each : m_screens) {
        each.setSeparator(separator);
    }
    m_settings.setValue(separatorSetting, static_cast<int>(separator));
    Q_EMIT changed();
}

void TranslationDesk::setCaptionsShown(bool shown)
{
    m_stage.captions.shown = shown;
    Q_EMIT changed();
}

void TranslationDesk::clearCaptions()
{
    for (CaptionScreen &each : m_screens) {
        each.clear();
    }
}

int TranslationDesk::holdSeconds() const
{
    return static_cast<int>(m_engine.lane(Target::First).held().delayMs() / 1000);
}

void TranslationDesk::setHoldSeconds(int seconds)
{
    m_engine.setHold(seconds * 1000LL);
    m_settings.setValue(holdSetting, holdSeconds());
    Q_EMIT changed();
}

/// At the end of a run.
void TranslationDesk::letHeldGo()
{
    for (const Target target : bothTargets) {
        for (const Caption &caption : m_engine.lane(target).takeHeld()) {
            screen(target).add(caption);
        }
    }
}

void TranslationDesk::advanceCaptions()
{
    m_engine.releaseHeld();
    for (CaptionScreen &each : m_screens) {
        each.advance();
    }
    measureShown();
}

/// The pictures that are made now show what has been added since the last ones.
void TranslationDesk::measureShown()
{
    qsizetype shown = 0;
    for (CaptionScreen &each : m_screens) {
        shown += each.measureShown(captionsShown());
    }
    const std::int64_t now = m_clock.monotonicUs() / 1000;
    if (running() && (shown > 0 || now - m_delayedMs >= 1000)) {
        m_delayedMs = now;
        Q_EMIT delayed();
    }
}

/// Beside the delay of the captions: the status keeps what is told of the run.
void TranslationDesk::tellPace(Target target, bool isHurried)
{
    const Message pace = labelled(target,
        isHurried ? "Lectura con retraso: sube a 20 caracteres por segundo."
                  : "Lectura al día: vuelve a 15 caracteres por segundo.");
    Q_EMIT captionNoted(pace);
    logLine(QStringLiteral("IA: ") + pace.spanish());
}

/// Beside the delay of the captions, of which there are none then.
void TranslationDesk::watchLevel(const AudioBlock &block)
{
    if (!running() || !m_quietVoice.push(block)) {
        return;
    }
    const Message low = m_quietVoice.isQuiet()
        ? Message("El micrófono llega muy bajo: sube la ganancia.")
        : Message();
    Q_EMIT captionNoted(low);
    if (!low.isEmpty()) {
        logLine(QStringLiteral("IA: ") + low.spanish());
    }
}

/// What was heard so far is of another run, or nobody's.
void TranslationDesk::watchLevelAnew()
{
    if (m_quietVoice.isQuiet()) {
        Q_EMIT captionNoted({});
    }
    m_quietVoice.clear();
}

/// Its layers show the first language from now on, once what they still had is gone.
void TranslationDesk::endSecond()
{
    m_hasSecondEnded = true;
    showCaptions();
    Q_EMIT alarmed(
        Message("La traducción a %1 terminó sola: sus capas muestran %2 hasta el próximo inicio.",
            { Message::verbatim(languageOf(Target::Second)),
                Message::verbatim(languageOf(Target::First)) }));
}

void TranslationDesk::showCaptions()
{
    m_stage.captions.phrases = screen(Target::First).phrases();
    const bool hasSecond = !languageOf(Target::Second).isEmpty()
        && (!m_hasSecondEnded || screen(Target::Second).hasPhrases());
    m_stage.captions.second
        = hasSecond ? std::optional(screen(Target::Second).phrases()) : std::nullopt;
    m_stage.captions.separator = separatorText(separator());
}

void TranslationDesk::tell(const Message &message)
{
    Q_EMIT reported(message);
    Q_EMIT said("IA: " + message);
    logLine(QStringLiteral("IA: ") + message.spanish());
}

void TranslationDesk::tellHeard(const Message &text)
{
    Q_EMIT heard(text);
    if (const auto line = heard::logText(text.spanish())) {
        logLine(*line);
    }
}

} // namespace nimbara

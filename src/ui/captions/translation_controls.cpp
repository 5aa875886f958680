#include "ui/captions/translation_controls.h"

#include "base/error.h"
#include "base/i18n.h"
#include "base/log.h"
#include "translation/pipeline/heard_line.h"
#include "translation/service/languages.h"
#include "ui/kit/key_field.h"

#include <utility>

namespace nimbara {

namespace {

constexpr const char *targetSetting = "translation_target";
constexpr const char *sourceSetting = "source_language";
constexpr const char *liveSetting = "live_mode";
constexpr const char *separatorSetting = "caption_separator";

QString setting(const char *name)
{
    return QLatin1String(name);
}

} // namespace

TranslationControls::TranslationControls(Studio &studio,
    SecretStore &secrets,
    QSettings &settings,
    const ErrorGuard &guard,
    TranslationTab &tab)
    : m_studio(studio)
    , m_secrets(secrets)
    , m_settings(settings)
    , m_guard(guard)
    , m_tab(tab)
{
    showStored();
    connectTab();
    TranslationDesk &desk = m_studio.translation();
    desk.onStatus = [this](const QString &text) { showEngineStatus(text); };
    desk.onHeard = [this](const QString &text) { showHeard(text); };
    desk.keyTest().status = [this](const QString &text) {
        m_tab.showStatus(text);
        m_studio.status(text);
    };
}

void TranslationControls::showStored()
{
    const CaptionSeparator separator
        = captionSeparator(m_settings.value(setting(separatorSetting), 1).toInt());
    const bool live = m_settings.value(setting(liveSetting), true).toBool();
    const QString target
        = m_settings.value(setting(targetSetting), languages::defaultTarget()).toString();
    TranslationDesk &desk = m_studio.translation();
    m_tab.showSettings({ target, live, static_cast<int>(separator) });
    desk.setLiveMode(live);
    desk.setSeparator(separator);
    desk.setSource(
        m_settings.value(setting(sourceSetting), languages::sourceFor(target)).toString());
    const QString key = m_secrets.readSecretFile(secret_account::openAi());
    if (!key.isEmpty()) {
        m_tab.apiKey()->setText(key);
        m_tab.setSaveKey(true);
    }
}

void TranslationControls::connectTab()
{
    const TranslationTab *tab = &m_tab;
    TranslationDesk &desk = m_studio.translation();
    connect(tab, &TranslationTab::startPressed, this, &TranslationControls::toggleTranslation);
    connect(tab, &TranslationTab::testKeyPressed, this, &TranslationControls::testKey);
    connect(tab, &TranslationTab::spanishPressed, this, [this] {
        setTarget(QStringLiteral("Spanish"));
    });
    connect(tab, &TranslationTab::englishPressed, this, [this] {
        setTarget(QStringLiteral("English"));
    });
    connect(tab, &TranslationTab::targetEdited, this, [this](const QString &language) {
        m_settings.setValue(setting(targetSetting), language.trimmed());
        setSource(languages::sourceFor(language.trimmed()));
    });
    connect(tab, &TranslationTab::liveModeChanged, this, [this, &desk](bool on) {
        m_settings.setValue(setting(liveSetting), on);
        desk.setLiveMode(on);
    });
    connect(tab, &TranslationTab::separatorChosen, this, [this, &desk](int entry) {
        m_settings.setValue(setting(separatorSetting), entry);
        desk.setSeparator(captionSeparator(entry));
    });
    connect(tab, &TranslationTab::showSubtitlesChanged, this, [&desk](bool on) {
        desk.setCaptionsShown(on);
    });
    connect(tab, &TranslationTab::clearPressed, this, [&desk] { desk.clearCaptions(); });
}

template <typename Step> void TranslationControls::settle(Step step)
{
    m_tab.setStartEnabled(true);
    m_guard.run(step);
}

void TranslationControls::withKey(std::function<void(const QString &key)> receiver)
{
    nimbara::withKey(m_tab.apiKey(), m_secrets, secret_account::openAi(), std::move(receiver));
}

void TranslationControls::shutDown()
{
    m_shutDown = true;
    m_studio.translation().pause();
}

void TranslationControls::toggleTranslation()
{
    TranslationDesk &desk = m_studio.translation();
    if (desk.running()) {
        desk.pause();
        m_tab.showRunning(false);
        return;
    }
    m_guard.run([this, &desk] {
        desk.requireVoiceInput();
        m_tab.setStartEnabled(false);
        // An empty field is filled from the store, and must not empty it first.
        if (!m_tab.saveKey() || m_tab.apiKey()->text().trimmed().isEmpty()) {
            start();
            return;
        }
        m_secrets.writeSecret(secret_account::openAi(),
            m_tab.apiKey()->text().trimmed(),
            [this](bool stored) {
                if (stored) {
                    start();
                    return;
                }
                settle([] {
                    throw Error(QStringLiteral("No se pudo guardar API en almacén seguro"));
                });
            });
    });
}

void TranslationControls::start()
{
    withKey([this](const QString &key) {
        if (m_shutDown) {
            return;
        }
        settle([this, &key] {
            TranslationDesk &desk = m_studio.translation();
            const QString target = m_tab.target().trimmed();
            desk.start(key, target.isEmpty() ? languages::defaultTarget() : target, m_tab.voice());
            m_tab.showRunning(true);
        });
    });
}

void TranslationControls::setSource(const QString &source)
{
    m_studio.translation().setSource(source);
    m_settings.setValue(setting(sourceSetting), source);
}

void TranslationControls::setTarget(const QString &language)
{
    TranslationDesk &desk = m_studio.translation();
    m_tab.showTarget(language);
    m_settings.setValue(setting(targetSetting), language);
    setSource(languages::sourceFor(language));
    if (desk.running()) {
        desk.stopForRestart();
        m_tab.showRunning(false);
        m_tab.setStartEnabled(false);
        start();
    }
    const bool spanish = language == QLatin1String("Spanish");
    m_studio.status(nimbara_i18n::tr("Pantallas en ")
        + nimbara_i18n::tr(spanish ? "español" : "inglés") + QLatin1Char('.'));
}

void TranslationControls::testKey()
{
    withKey([this](const QString &key) {
        if (m_tab.saveKey() && !key.isEmpty()) {
            m_secrets.writeSecret(secret_account::openAi(), key, [](bool) {});
        }
        m_guard.run([this, &key] { m_studio.translation().keyTest().run(key); });
    });
}

void TranslationControls::showEngineStatus(const QString &text)
{
    m_tab.showStatus(text);
    m_studio.status(nimbara_i18n::tr("IA: ") + text);
    logLine(QStringLiteral("IA: ") + text);
    if (!m_studio.translation().running()) {
        m_tab.showRunning(false);
    }
}

void TranslationControls::showHeard(const QString &text)
{
    m_tab.showHeard(heard::label(text));
    if (const auto line = heard::logText(text)) {
        logLine(*line);
    }
}

} // namespace nimbara

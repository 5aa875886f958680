#pragma once

#include "secrets/secret_store.h"
#include "studio/studio.h"
#include "ui/captions/translation_tab.h"
#include "ui/kit/error_guard.h"

#include <QObject>
#include <QSettings>

#include <functional>

namespace nimbara {

/// Turns what the operator does in the translation controls into the studio's live translation, and
/// shows what that reports. Interface thread only: keys are fetched and stored in the background.
class TranslationControls : public QObject {
    Q_OBJECT
public:
    /// Everything referred to must outlive the controls.
    TranslationControls(Studio &studio,
        SecretStore &secrets,
        QSettings &settings,
        const ErrorGuard &guard,
        TranslationTab &tab);

    /// Starts or pauses. While the store is asked for the key the start button is out of use.
    void toggleTranslation();

    /// Ends a run, and a start that still waits for its key, as the window does before it closes.
    void shutDown();

    /// Shows the screens in "Spanish" or "English"; a run that is on begins again.
    void setTarget(const QString &language);

    /// Hands the receiver the key: of the field at once, else of the store, which fills the field.
    /// Empty when neither has one.
    void withKey(std::function<void(const QString &key)> receiver);

private:
    void showStored();
    void connectTab();
    void start();
    void setSource(const QString &source);
    void testKey();
    void showEngineStatus(const QString &text);
    void showHeard(const QString &text);
    /// Runs `step` in the guard; the start button is in use again.
    template <typename Step> void settle(Step step);

    Studio &m_studio;
    SecretStore &m_secrets;
    QSettings &m_settings;
    const ErrorGuard &m_guard;
    TranslationTab &m_tab;
    bool m_shutDown = false;
};

} // namespace nimbara

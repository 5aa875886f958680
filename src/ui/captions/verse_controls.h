#pragma once

#include "secrets/secret_store.h"
#include "studio/studio.h"
#include "ui/captions/bible_group.h"
#include "ui/captions/translation_controls.h"
#include "ui/editor/scene_editor.h"
#include "ui/editor/scene_tab.h"
#include "ui/kit/error_guard.h"

#include <QObject>
#include <QSettings>

#include <functional>

namespace nimbara {

/// Turns typed references into verses on the layers, and lets the operator choose where they come
/// from. Interface thread only: keys are fetched and stored in the background.
class VerseControls : public QObject {
    Q_OBJECT
public:
    struct Views {
        SceneTab &tab;
        SceneEditor &editor;
        BibleGroup &bible;
        TranslationTab &translation; ///< its target language decides the automatic choice
        TranslationControls &openAi; ///< has the key of the translations
    };

    /// Everything referred to must outlive the controls.
    VerseControls(Studio &studio,
        SecretStore &secrets,
        QSettings &settings,
        const ErrorGuard &guard,
        Views views);

private:
    void showStored();
    void connectViews();
    void showVerse(LayerId layer, const QString &typed);
    void showQuickVerse(const QString &typed);
    void findBibles();
    void listBibles(const QString &key);
    void withKey(std::function<void(const QString &key)> receiver);
    [[nodiscard]] bible::VerseLookup::Source source() const;

    Studio &m_studio;
    SecretStore &m_secrets;
    QSettings &m_settings;
    const ErrorGuard &m_guard;
    Views m_views;
};

} // namespace nimbara

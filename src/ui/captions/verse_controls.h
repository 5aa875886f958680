#pragma once

#include "studio/studio.h"
#include "ui/captions/bible_group.h"
#include "ui/editor/scene_editor.h"
#include "ui/editor/scene_tab.h"
#include "ui/kit/error_guard.h"

#include <QObject>
#include <QSettings>

namespace nimbara {

/// Turns typed references into verses on the layers, and lets the operator choose where they come
/// from. Interface thread only.
class VerseControls : public QObject {
    Q_OBJECT
public:
    struct Views {
        SceneTab &tab;
        SceneEditor &editor;
        BibleGroup &bible;
    };

    /// Everything referred to must outlive the controls.
    VerseControls(Studio &studio, QSettings &settings, const ErrorGuard &guard, Views views);

private:
    void showStored();
    void connectViews();
    void showVerse(LayerId layer, const QString &typed);
    void showQuickVerse(const QString &typed);
    void findBibles();
    void listBibles(const QString &key);
    [[nodiscard]] bible::VerseLookup::Source source() const;

    Studio &m_studio;
    QSettings &m_settings;
    const ErrorGuard &m_guard;
    Views m_views;
};

} // namespace nimbara

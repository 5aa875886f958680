#pragma once

#include "studio/services/bible_desk.h"
#include "ui/captions/bible_group.h"
#include "ui/editor/scene_editor.h"
#include "ui/editor/scene_tab.h"
#include "ui/kit/error_guard.h"

#include <QObject>

namespace nimbara {

/// Hands typed references and the operator's choice of a Bible to the desks, and shows what they
/// tell. Interface thread only.
class VerseControls : public QObject {
    Q_OBJECT
public:
    struct Views {
        SceneTab &tab;
        SceneEditor &editor;
        BibleGroup &bible;
    };

    /// Everything referred to must outlive the controls.
    VerseControls(BibleDesk &desk, VerseDesk &verses, const ErrorGuard &guard, Views views);

private:
    void showChoice();
    void connectViews();
    void showVerse(LayerId layer, const QString &typed);
    void showQuickVerse(const QString &typed);
    void offer(LayerId layer, const QStringList &offers);

    BibleDesk &m_desk;
    VerseDesk &m_verses;
    const ErrorGuard &m_guard;
    Views m_views;
};

} // namespace nimbara

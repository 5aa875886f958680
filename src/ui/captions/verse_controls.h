#pragma once

#include "studio/studio.h"
#include "ui/captions/bible_group.h"
#include "ui/editor/passage_box.h"
#include "ui/editor/scene_editor.h"
#include "ui/editor/scene_tab.h"
#include "ui/kit/error_guard.h"

#include <QObject>
#include <QPointer>

#include <functional>

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
    VerseControls(Studio &studio, const ErrorGuard &guard, Views views);

    /// A page on or back of the selected verse, see `VerseSteps::step`.
    void stepPage(VerseSteps::Direction direction);
    /// The same of the verse on air, see `VerseSteps::stepOnAir`.
    void stepOnAir(VerseSteps::Direction direction);
    /// Shows the passages of the service.
    void showPassages();

    /// Puts the verse that the preacher has named on PREVIEW, and then on air.
    void prepareSpoken();
    void takeSpokenOnAir();

private:
    void showChoice();
    void connectViews();
    void connectTyping();
    void connectLibrary();
    void offerModules(const QList<bible::SwordModule> &modules);
    void importFiles();
    void removeBible(const QString &id);
    void connectPassages();
    void suggest(VerseField *field, const QString &typed);
    void showVerse(LayerId layer, const QString &typed);
    void showQuickVerse(const QString &typed);
    void showQuick(const std::function<void(LayerId layer)> &lookUp);
    void addPassage(const QString &typed);
    void recall(std::size_t place);
    void offer(const QStringList &offers, const std::function<void(const QString &)> &take);

    Studio &m_studio;
    BibleDesk &m_desk;
    BibleLibrary &m_library;
    VerseDesk &m_verses;
    VerseSteps &m_steps;
    VerseFinder &m_finder;
    SpokenVerses &m_spoken;
    PassageDesk &m_passages;
    QPointer<VerseField> m_typedIn; ///< what was last typed into
    const ErrorGuard &m_guard;
    Views m_views;
    PassageBox *m_box; ///< the tab's
};

} // namespace nimbara

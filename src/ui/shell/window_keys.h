#pragma once

#include "studio/studio.h"
#include "ui/kit/key_map.h"
#include "ui/shell/clicker_keys.h"
#include "ui/shell/key_page.h"

#include <QObject>
#include <QPointer>

#include <functional>
#include <vector>

class QAction;
class QTabWidget;
class QWidget;

namespace nimbara {

class Monitors;
class ProjectRow;
class SceneEditor;
class SceneTab;
class VerseControls;

/// What the window does by key, from foot switches and clickers, and the page that shows and
/// changes all keys. Interface thread only.
class WindowKeys : public QObject {
    Q_OBJECT
public:
    struct Views {
        ProjectRow &project;
        Monitors &monitors;
        SceneTab &tab;
        SceneEditor &editor;
        VerseControls &verses;
        QTabWidget &tabs;
    };

    /// Everything referred to must outlive this.
    WindowKeys(QWidget &window, Studio &studio, KeyMap &keys, Views views);

    /// Does what the key does, as if it had been pressed in the window.
    void press(const QKeySequence &key);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    struct Bound {
        KeyAction what;
        QAction *action;
    };

    QAction *add(KeyAction what, const std::function<void()> &step);
    void addProgram();
    void addVerses();
    void addServices();
    void addView();
    void addTabs();
    void addHints();
    void connectClicker();
    void listen(bool on);
    void snap(bool on);
    void showPage();

    QWidget &m_window;
    Studio &m_studio;
    KeyMap &m_keys;
    Views m_views;
    ClickerKeys m_clicker;
    std::vector<Bound> m_actions;
    QPointer<KeyPage> m_page; ///< while it is open
};

} // namespace nimbara

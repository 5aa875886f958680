#pragma once

#include "studio/studio.h"
#include "ui/editor/layer_selection.h"
#include "ui/kit/error_guard.h"
#include "ui/kit/key_map.h"

#include <QObject>

#include <functional>
#include <vector>

class QAction;
class QWidget;

namespace nimbara {

class Canvas;
class SceneEditor;
class SceneTab;

/// What an operator does with the selected layers by key or from the menu of list and canvas: copy,
/// cut and paste, also into another scene or set, duplicate, show or hide, lock, order, rename,
/// delete, nudge. Each is one step of undo, however many layers there are. The keys work where the
/// list or the canvas has them. Interface thread only.
class LayerActions : public QObject {
    Q_OBJECT
public:
    LayerActions(Studio &studio,
        const ErrorGuard &guard,
        SceneEditor &editor,
        SceneTab &tab,
        Canvas &canvas,
        const KeyMap &keys);

    /// What was copied can be pasted there as well, by key: where a scene or a set is chosen the
    /// operator has just gone to paste it.
    void pasteAt(QWidget &widget) const;

private:
    QAction *add(KeyAction what, const std::function<void()> &step);
    void addNudges();
    void connectList();
    void showMenu(QPoint place);
    [[nodiscard]] const Scene &scene() const { return *m_studio.document().currentScene(); }
    [[nodiscard]] const LayerIds &selected() const;

    void copy();
    void cut();
    void paste(const std::vector<Layer> &layers, const char *step);
    void toggle(const LayerIds &layers, LayerField field, const char *step);
    void shift(int delta);
    void selectAll();
    void rename();
    void remove(const char *step);

    Studio &m_studio;
    const ErrorGuard &m_guard;
    SceneEditor &m_editor;
    SceneTab &m_tab;
    Canvas &m_canvas;
    const KeyMap &m_keys;
    std::vector<Layer> m_copied; ///< rear layer first
    QAction *m_paste;
    std::vector<QAction *> m_nudges;
};

} // namespace nimbara

#pragma once

#include "studio/studio.h"
#include "ui/kit/error_guard.h"

#include <QKeySequence>
#include <QObject>

#include <optional>

class QAction;
class QWidget;

namespace nimbara {

class SceneEditor;
class SceneTab;

/// What an operator does with the selected layer by key or from the list's menu: copy, cut and
/// paste, also into another scene or set, duplicate, show or hide, lock, rename, delete. Each is a
/// step of undo. The keys work where the list or the canvas has them. Interface thread only.
class LayerActions : public QObject {
    Q_OBJECT
public:
    LayerActions(Studio &studio,
        const ErrorGuard &guard,
        SceneEditor &editor,
        SceneTab &tab,
        QWidget &canvas);

private:
    using Step = void (LayerActions::*)(const Layer &);

    void add(const char *spanish, const QKeySequence &key, Step step);
    void addPaste();
    void toCanvas(QAction *action);

    void copy(const Layer &layer);
    void cut(const Layer &layer);
    void duplicate(const Layer &layer);
    void toggle(const Layer &layer);
    void lock(const Layer &layer);
    void rename(const Layer &layer);
    void remove(const Layer &layer);
    void paste(Layer layer);

    Studio &m_studio;
    const ErrorGuard &m_guard;
    SceneEditor &m_editor;
    SceneTab &m_tab;
    QWidget &m_canvas;
    std::optional<Layer> m_copied;
};

} // namespace nimbara

#include "ui/editor/layer_actions.h"

#include "document/layer_group.h"
#include "ui/editor/canvas.h"
#include "ui/editor/scene_editor.h"
#include "ui/editor/scene_tab.h"

#include <QAction>
#include <QMenu>

#include <utility>

namespace nimbara {

namespace {

constexpr int farPixels = 10; ///< of the output, that a key with Shift moves by

/// The name of a step for one layer is that of its edit.
const char *stepFor(const LayerIds &layers, const char *name)
{
    return layers.size() > 1 ? name : nullptr;
}

} // namespace

LayerActions::LayerActions(Studio &studio,
    const ErrorGuard &guard,
    SceneEditor &editor,
    SceneTab &tab,
    Canvas &canvas,
    const KeyMap &keys)
    : m_studio(studio)
    , m_guard(guard)
    , m_editor(editor)
    , m_tab(tab)
    , m_canvas(canvas)
    , m_keys(keys)
{
    add(KeyAction::Copy, [this] { copy(); });
    add(KeyAction::Cut, [this] { cut(); });
    m_paste = add(KeyAction::Paste, [this] { paste(m_copied, "Pegar"); });
    add(KeyAction::Duplicate, [this] { paste(layersOf(scene(), selected()), "Duplicar"); });
    add(KeyAction::SelectAll, [this] { selectAll(); });
    add(KeyAction::ShowOrHide,
        [this] { toggle(selected(), LayerField::Visible, "Mostrar u ocultar"); });
    add(KeyAction::Lock,
        [this] { toggle(selected(), LayerField::Locked, "Bloquear o desbloquear"); });
    add(KeyAction::Forward, [this] { shift(1); });
    add(KeyAction::Backward, [this] { shift(-1); });
    add(KeyAction::Rename, [this] { rename(); });
    add(KeyAction::Delete, [this] { remove("Eliminar fuentes"); });
    addNudges();
    m_tab.layerList()->setContextMenuPolicy(Qt::ActionsContextMenu);
    connectList();
    connect(&m_canvas, &Canvas::menuWanted, this, &LayerActions::showMenu);
}

void LayerActions::pasteAt(QWidget &widget) const
{
    widget.addAction(m_paste);
}

/// The canvas has what the list has.
void LayerActions::showMenu(QPoint place)
{
    auto *menu = new QMenu(&m_canvas);
    menu->setObjectName(QStringLiteral("canvasMenu"));
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addActions(m_tab.layerList()->actions());
    menu->popup(place);
}

QAction *LayerActions::add(KeyAction what, const std::function<void()> &step)
{
    auto *action = new QAction(keyActionText(what), this);
    action->setShortcutContext(Qt::WidgetShortcut); // a text field has keys of its own
    m_keys.bind(action, what);
    connect(action, &QAction::triggered, this, [this, step] { m_guard.run(step); });
    m_canvas.addAction(action);
    if (keyRow(what).place == KeyPlace::Lists) {
        m_tab.layerList()->addAction(action);
    }
    return action;
}

/// While nothing can be moved the keys are free for others.
void LayerActions::addNudges()
{
    for (const auto &[what, right, down] : { std::tuple { KeyAction::Left, -1, 0 },
             { KeyAction::Right, 1, 0 },
             { KeyAction::Up, 0, -1 },
             { KeyAction::Down, 0, 1 },
             { KeyAction::FarLeft, -farPixels, 0 },
             { KeyAction::FarRight, farPixels, 0 },
             { KeyAction::FarUp, 0, -farPixels },
             { KeyAction::FarDown, 0, farPixels } }) {
        m_nudges.push_back(
            add(what, [this, right = right, down = down] { m_canvas.nudge(right, down); }));
    }
    connect(&m_editor, &SceneEditor::selectionShown, this, [this] {
        for (QAction *nudge : m_nudges) {
            nudge->setEnabled(m_canvas.canNudge());
        }
    });
}

void LayerActions::connectList()
{
    const LayerList *list = m_tab.layerList();
    connect(list, &LayerList::dragged, this, [this](const LayerIds &layers, int place) {
        m_studio.document().apply(PlaceLayers { layers, place });
    });
    connect(list, &LayerList::renamed, this, [this](LayerId layer, const QString &name) {
        if (!name.trimmed().isEmpty()) {
            m_studio.document().apply(SetField { layer, LayerField::Name, name.trimmed() });
        }
    });
    connect(list, &LayerList::lockPressed, this, [this](LayerId layer) {
        toggle(m_editor.selection().withAll(layer), LayerField::Locked, "Bloquear o desbloquear");
    });
    connect(&m_tab, &SceneTab::moveLayerPressed, this, &LayerActions::shift);
    connect(&m_tab, &SceneTab::deleteLayerPressed, this, [this] { remove("Eliminar fuentes"); });
}

const LayerIds &LayerActions::selected() const
{
    return m_editor.selection().layers();
}

void LayerActions::copy()
{
    if (std::vector<Layer> layers = layersOf(scene(), selected()); !layers.empty()) {
        m_copied = std::move(layers);
    }
}

void LayerActions::cut()
{
    copy();
    remove("Cortar");
}

/// In front of all. They play the same sources as the layers that were copied.
void LayerActions::paste(const std::vector<Layer> &layers, const char *step)
{
    const LayerCopies copies = copiedTo(scene(), layers);
    if (copies.leftOut) {
        m_studio.status("Esta escena ya tiene una fuente de subtítulos.");
    }
    if (!copies.made.empty()) {
        m_studio.document().apply(copies.edits, stepFor(copies.made, step));
        m_editor.select(LayerSelection(copies.made));
    }
}

void LayerActions::toggle(const LayerIds &layers, LayerField field, const char *step)
{
    m_studio.document().apply(switched(scene(), layers, field), stepFor(layers, step));
}

void LayerActions::shift(int delta)
{
    m_studio.document().apply(shifted(scene(), selected(), delta), "Cambiar orden");
}

void LayerActions::selectAll()
{
    LayerSelection all;
    for (const Layer &layer : scene().layers) {
        all = all.with({ layer.id });
    }
    m_editor.select(all);
}

void LayerActions::rename()
{
    LayerList *list = m_tab.layerList();
    if (QListWidgetItem *entry = list->isVisible() ? list->currentItem() : nullptr) {
        list->editItem(entry);
    }
}

void LayerActions::remove(const char *step)
{
    const LayerIds layers = selected();
    m_studio.document().apply(removed(layers), stepFor(layers, step));
}

} // namespace nimbara

#include "ui/editor/layer_actions.h"

#include "base/i18n.h"
#include "ui/editor/scene_editor.h"
#include "ui/editor/scene_tab.h"

#include <QAction>

#include <cstdlib>
#include <utility>

namespace nimbara {

LayerActions::LayerActions(Studio &studio,
    const ErrorGuard &guard,
    SceneEditor &editor,
    SceneTab &tab,
    QWidget &canvas)
    : m_studio(studio)
    , m_guard(guard)
    , m_editor(editor)
    , m_tab(tab)
    , m_canvas(canvas)
{
    add("Copiar", QKeySequence::Copy, &LayerActions::copy);
    add("Cortar", QKeySequence::Cut, &LayerActions::cut);
    addPaste();
    add("Duplicar", QKeySequence(Qt::CTRL | Qt::Key_D), &LayerActions::duplicate);
    add("Mostrar u ocultar", QKeySequence(Qt::CTRL | Qt::Key_H), &LayerActions::toggle);
    add("Bloquear o desbloquear", QKeySequence(Qt::CTRL | Qt::Key_K), &LayerActions::lock);
    add("Renombrar", QKeySequence(Qt::CTRL | Qt::Key_R), &LayerActions::rename);
    add("Eliminar", QKeySequence::Delete, &LayerActions::remove);
    m_tab.layerList()->setContextMenuPolicy(Qt::ActionsContextMenu);
    connect(m_tab.layerList(), &LayerList::dragged, this, [this](LayerId layer, int places) {
        const std::vector<Edit> steps(static_cast<std::size_t>(std::abs(places)),
            MoveLayer { layer, places > 0 ? 1 : -1 });
        m_studio.document().apply(steps);
    });
    connect(m_tab.layerList(),
        &LayerList::renamed,
        this,
        [this](LayerId layer, const QString &name) {
            if (!name.trimmed().isEmpty()) {
                m_studio.document().apply(SetField { layer, LayerField::Name, name.trimmed() });
            }
        });
    connect(m_tab.layerList(), &LayerList::lockPressed, this, [this](LayerId id) {
        if (const Layer *layer = findLayer(*m_studio.document().currentScene(), id)) {
            lock(*layer);
        }
    });
}

void LayerActions::add(const char *spanish, const QKeySequence &key, Step step)
{
    auto *action = new QAction(nimbara_i18n::tr(spanish), this);
    action->setShortcut(key);
    connect(action, &QAction::triggered, this, [this, step] {
        const Document &document = m_studio.document();
        if (const Layer *layer = findLayer(*document.currentScene(), m_editor.selected())) {
            m_guard.run([this, step, kept = *layer] { (this->*step)(kept); });
        }
    });
    toCanvas(action);
}

void LayerActions::addPaste()
{
    auto *action = new QAction(nimbara_i18n::tr("Pegar"), this);
    action->setShortcut(QKeySequence::Paste);
    connect(action, &QAction::triggered, this, [this] {
        if (m_copied) {
            m_guard.run([this] { paste(*m_copied); });
        }
    });
    toCanvas(action);
}

void LayerActions::toCanvas(QAction *action)
{
    action->setShortcutContext(Qt::WidgetShortcut); // a text field has keys of its own
    m_tab.layerList()->addAction(action);
    m_canvas.addAction(action);
}

void LayerActions::copy(const Layer &layer)
{
    m_copied = layer;
}

void LayerActions::cut(const Layer &layer)
{
    copy(layer);
    remove(layer);
}

void LayerActions::duplicate(const Layer &layer)
{
    paste(layer);
}

/// In front of all. It plays the same source as the layer that was copied.
void LayerActions::paste(Layer layer)
{
    layer.id = LayerId::make();
    const LayerId id = layer.id;
    m_studio.document().apply(
        AddLayer { m_studio.document().currentScene()->id, std::move(layer) });
    m_editor.select(id);
}

void LayerActions::toggle(const Layer &layer)
{
    m_studio.document().apply(SetField { layer.id, LayerField::Visible, !layer.visible });
}

void LayerActions::lock(const Layer &layer)
{
    m_studio.document().apply(SetField { layer.id, LayerField::Locked, !layer.locked });
}

void LayerActions::rename(const Layer & /*layer*/)
{
    LayerList *list = m_tab.layerList();
    if (QListWidgetItem *entry = list->isVisible() ? list->currentItem() : nullptr) {
        list->editItem(entry);
    }
}

void LayerActions::remove(const Layer &layer)
{
    m_studio.document().apply(DeleteLayer { layer.id });
}

} // namespace nimbara

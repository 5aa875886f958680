#include "ui/editor/scene_tab.h"

#include "base/i18n.h"
#include "ui/kit/controls.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include <array>
#include <tuple>

namespace nimbara {

namespace {

QString itemText(const Layer &layer)
{
    return QString::fromUtf8(layer.visible ? "👁  " : "🚫  ") + layer.name
        + QStringLiteral("   ·  ") + displayName(layer.kind);
}

LayerId layerOf(const QListWidgetItem &item)
{
    return LayerId::of(item.data(Qt::UserRole).toULongLong());
}

void write(QListWidgetItem &item, const Layer &layer)
{
    item.setText(itemText(layer));
    item.setData(Qt::UserRole, QVariant::fromValue(qulonglong { layer.id.value() }));
    item.setCheckState(layer.visible ? Qt::Checked : Qt::Unchecked);
}

} // namespace

SceneTab::SceneTab(QWidget *parent)
    : QWidget(parent)
    , m_layers(named(new QListWidget,
          "layers",
          nimbara_i18n::tr("Fuentes de la escena (arriba = encima)")))
    , m_verse(named(new VerseField, "quickVerse", nimbara_i18n::tr("Cita")))
    , m_properties(new PropertiesPanel)
{
    m_layers->setMinimumWidth(260);
    auto *columns = new QHBoxLayout(this);
    columns->addLayout(makeSceneColumn(), 1);
    columns->addWidget(m_properties, 1);
    connectList();
}

QVBoxLayout *SceneTab::makeSceneColumn()
{
    auto *column = new QVBoxLayout;
    const auto addButton
        = [this](QHBoxLayout *row, const char *spanish, const char *name, auto pressed) {
              QPushButton *button = makeButton(spanish, name);
              connect(button, &QPushButton::clicked, this, pressed);
              row->addWidget(button);
              return button;
          };

    column->addWidget(new QLabel(nimbara_i18n::tr("Escenas")));
    auto *scenes = new QHBoxLayout;
    addButton(scenes, "+ Escena", "newScene", &SceneTab::newScenePressed);
    addButton(scenes, "Renombrar", "renameScene", &SceneTab::renameScenePressed);
    addButton(scenes, "Duplicar", "duplicateScene", &SceneTab::duplicateScenePressed);
    addButton(scenes, "Eliminar escena", "deleteScene", &SceneTab::deleteScenePressed);
    scenes->addStretch();
    column->addLayout(scenes);

    column->addWidget(new QLabel(nimbara_i18n::tr("Fuentes de la escena (arriba = encima)")));
    column->addWidget(m_layers, 1);

    auto *verseRow = new QHBoxLayout;
    m_verse->setPlaceholderText(
        nimbara_i18n::tr("Cita bíblica rápida: Juan 3:16, Salmos 23, 1 Co 13:4-7  ⏎"));
    verseRow->addWidget(m_verse, 1);
    const auto requestVerse = [this] { Q_EMIT verseRequested(m_verse->text()); };
    connect(m_verse, &QLineEdit::returnPressed, this, requestVerse);
    connect(m_verse, &VerseField::chosen, this, requestVerse);
    addButton(verseRow, "Mostrar versículo", "showVerse", requestVerse);
    for (const auto &[arrow, name, step, spoken] :
        { std::tuple { "◀", "pageBack", -1, "Página o versículo anterior" },
            { "▶", "pageOn", 1, "Página o versículo siguiente" } }) {
        QPushButton *button
            = addButton(verseRow, arrow, name, [this, step = step] { Q_EMIT pageStepped(step); });
        button->setAccessibleName(nimbara_i18n::tr(spoken));
        button->setToolTip(nimbara_i18n::tr(spoken));
    }
    column->addLayout(verseRow);

    auto *layers = new QHBoxLayout;
    QPushButton *add = makeButton("+ Fuente", "addSource");
    add->setMenu(makeSourceMenu());
    layers->addWidget(add);
    addButton(layers, "▲", "layerUp", [this] {
        Q_EMIT moveLayerPressed(1);
    })->setAccessibleName(nimbara_i18n::tr("Subir la fuente"));
    addButton(layers, "▼", "layerDown", [this] {
        Q_EMIT moveLayerPressed(-1);
    })->setAccessibleName(nimbara_i18n::tr("Bajar la fuente"));
    addButton(layers, "Eliminar", "deleteLayer", &SceneTab::deleteLayerPressed);
    layers->addStretch();
    column->addLayout(layers);
    return column;
}

QMenu *SceneTab::makeSourceMenu()
{
    static constexpr std::array entries { "Cámara / capturadora",
        "Imagen...",
        "Texto",
        "Video...",
        "Fuente de red...",
        "Captura de pantalla",
        "Color sólido",
        "Subtítulos (IA): posición y estilo",
        "Versículo bíblico" };
    auto *menu = new QMenu(this);
    for (std::size_t place = 0; place < entries.size(); ++place) {
        menu->addAction(nimbara_i18n::tr(entries.at(place)), this, [this, place] {
            Q_EMIT addSourceChosen(static_cast<SourceEntry>(place));
        });
    }
    return menu;
}

void SceneTab::connectList()
{
    connect(m_layers, &QListWidget::currentItemChanged, this, [this](const QListWidgetItem *item) {
        if (item != nullptr) {
            Q_EMIT layerSelected(layerOf(*item));
        }
    });
    connect(m_layers, &QListWidget::itemChanged, this, [this](const QListWidgetItem *item) {
        Q_EMIT layerChecked(layerOf(*item), item->checkState() == Qt::Checked);
    });
}

void SceneTab::showLayers(const Scene &scene, LayerId selected)
{
    const QSignalBlocker blocker(m_layers);
    // Entries stay and are written anew: the mouse may be pressed on one of them right now.
    const auto count = static_cast<int>(scene.layers.size());
    while (m_layers->count() > count) {
        delete m_layers->takeItem(m_layers->count() - 1);
    }
    while (m_layers->count() < count) {
        auto *item = new QListWidgetItem(m_layers);
        item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
        item->setToolTip(nimbara_i18n::tr("Marca para mostrar, desmarca para ocultar"));
    }
    int marked = -1;
    for (int row = 0; row < count; ++row) {
        const Layer &layer = scene.layers[static_cast<std::size_t>(count - 1 - row)];
        write(*m_layers->item(row), layer);
        marked = layer.id == selected ? row : marked;
    }
    m_layers->setCurrentRow(marked);
}

void SceneTab::showLayer(const Layer &layer)
{
    const QSignalBlocker blocker(m_layers);
    for (int row = 0; row < m_layers->count(); ++row) {
        if (layerOf(*m_layers->item(row)) == layer.id) {
            write(*m_layers->item(row), layer);
        }
    }
}

} // namespace nimbara

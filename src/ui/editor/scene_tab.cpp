#include "ui/editor/scene_tab.h"

#include "base/i18n.h"
#include "ui/kit/controls.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include <algorithm>
#include <array>
#include <tuple>
#include <utility>

namespace nimbara {

namespace {

constexpr int widestList = 720; ///< pixels, until the operator wants it wider

QString itemText(const Layer &layer)
{
    return QString::fromUtf8(layer.visible ? "👁  " : "🚫  ") + layer.name
        + QStringLiteral("   ·  ") + displayName(layer.kind);
}

} // namespace

SceneTab::SceneTab(QWidget *parent)
    : QWidget(parent)
    , m_layers(named(new LayerList,
          "layers",
          nimbara_i18n::tr("Fuentes de la escena (arriba = encima)")))
    , m_verse(named(new VerseField, "quickVerse", nimbara_i18n::tr("Cita")))
    , m_properties(new PropertiesPanel)
    , m_splitter(new ShareSplitter(Qt::Horizontal, "editorSplitter"))
{
    m_layers->setMinimumSize(260, 96);
    m_splitter->addWidget(makeSceneColumn());
    m_splitter->addWidget(m_properties);
    m_splitter->shares = [](int room) {
        const int list = std::min(room * 2 / 5, widestList);
        return QList<int> { list, room - list };
    };
    auto *columns = new QHBoxLayout(this);
    columns->addWidget(m_splitter);
    connectList();
}

QWidget *SceneTab::makeSceneColumn()
{
    auto *owner = new QWidget;
    auto *column = new QVBoxLayout(owner);
    column->setContentsMargins(0, 0, 0, 0);
    const auto addButton
        = [this](QHBoxLayout *row, const char *spanish, const char *name, auto pressed) {
              QPushButton *button = makeButton(spanish, name);
              connect(button, &QPushButton::clicked, this, pressed);
              row->addWidget(button);
              return button;
          };

    column->addLayout(makeHeading());
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
    const auto requestVerse = [this] {
        m_verse->setModified(false); // no more is offered
        Q_EMIT verseRequested(m_verse->text());
    };
    connect(m_verse, &QLineEdit::returnPressed, this, requestVerse);
    connect(m_verse, &VerseField::chosen, this, requestVerse);
    addButton(verseRow, "Mostrar versículo", "showVerse", requestVerse);
    m_passages = addButton(verseRow, "Lista", "openPassages", &SceneTab::passagesPressed);
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
    return owner;
}

/// Beside the heading, where no other button needs the width.
QHBoxLayout *SceneTab::makeHeading()
{
    m_templates = new QPushButton(nimbara_i18n::tr("Escenas para empezar"));
    m_templates->setObjectName(QStringLiteral("sceneTemplates"));
    m_templates->setStyleSheet(QStringLiteral("padding: 3px 10px;"));
    m_templates->setMinimumHeight(26);
    m_templates->setMenu(makeTemplateMenu());
    auto *row = new QHBoxLayout;
    row->addWidget(new QLabel(nimbara_i18n::tr("Escenas")));
    row->addStretch();
    row->addWidget(m_templates);
    return row;
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
        "Versículo bíblico",
        "Reloj o cuenta atrás" };
    auto *menu = new QMenu(this);
    for (std::size_t place = 0; place < entries.size(); ++place) {
        QAction *entry = menu->addAction(nimbara_i18n::tr(entries.at(place)), this, [this, place] {
            Q_EMIT addSourceChosen(static_cast<SourceEntry>(place));
        });
        if (static_cast<SourceEntry>(place) == SourceEntry::Screen) {
            m_screenEntry = entry;
        }
    }
    return menu;
}

void SceneTab::showScreenTrouble(const QString &reason)
{
    const QString name = nimbara_i18n::tr("Captura de pantalla");
    m_screenEntry->setText(reason.isEmpty() ? name : name + QStringLiteral(": ") + reason);
}

QMenu *SceneTab::makeTemplateMenu()
{
    auto *menu = new QMenu(this);
    for (const SceneTemplate which : sceneTemplates) {
        menu->addAction(nimbara_i18n::tr(nameOf(which)), this, [this, which] {
            Q_EMIT templateChosen(which);
        });
    }
    return menu;
}

void SceneTab::connectList()
{
    connect(m_layers, &QListWidget::itemChanged, this, [this](const QListWidgetItem *item) {
        Q_EMIT layerChecked(LayerList::layerOf(*item), item->checkState() == Qt::Checked);
    });
}

void SceneTab::write(QListWidgetItem &item, const Layer &layer) const
{
    const bool onAir = std::find(m_onAir.begin(), m_onAir.end(), layer.id) != m_onAir.end();
    const auto trouble = m_troubles.find(layer.id);
    const bool isWell = trouble == m_troubles.end();
    QString text = itemText(layer);
    text += onAir ? QStringLiteral("   ●  ") + nimbara_i18n::tr("AL AIRE") : QString();
    text += isWell ? QString() : QStringLiteral("   ▲  ") + nimbara_i18n::tr("cuesta leerlo");
    item.setText(text);
    item.setToolTip(
        isWell ? nimbara_i18n::tr("Marca para mostrar, desmarca para ocultar") : trouble->second);
    item.setData(Qt::ForegroundRole, onAir ? QVariant(QColor(0xff, 0xa0, 0x98)) : QVariant());
    LayerList::setLayer(item, layer);
    item.setCheckState(layer.visible ? Qt::Checked : Qt::Unchecked);
}

void SceneTab::showTroubles(std::map<LayerId, QString> troubles, const Scene &scene)
{
    m_troubles = std::move(troubles);
    for (const Layer &layer : scene.layers) {
        showLayer(layer);
    }
}

void SceneTab::showOnAir(std::vector<LayerId> layers, const Scene &scene)
{
    m_onAir = std::move(layers);
    for (const Layer &layer : scene.layers) {
        showLayer(layer);
    }
}

void SceneTab::showLayers(const Scene &scene, const LayerSelection &selected)
{
    const QSignalBlocker blocker(m_layers);
    // Entries stay and are written anew: the mouse may be pressed on one of them right now.
    const auto count = static_cast<int>(scene.layers.size());
    while (m_layers->count() > count) {
        delete m_layers->takeItem(m_layers->count() - 1);
    }
    while (m_layers->count() < count) {
        auto *item = new QListWidgetItem(m_layers);
        item->setFlags((item->flags() | Qt::ItemIsUserCheckable | Qt::ItemIsEditable)
            & ~Qt::ItemIsDropEnabled);
    }
    for (int row = 0; row < count; ++row) {
        write(*m_layers->item(row), scene.layers[static_cast<std::size_t>(count - 1 - row)]);
    }
    m_layers->mark(selected);
}

void SceneTab::showLayer(const Layer &layer)
{
    const QSignalBlocker blocker(m_layers);
    for (int row = 0; row < m_layers->count(); ++row) {
        if (LayerList::layerOf(*m_layers->item(row)) == layer.id) {
            write(*m_layers->item(row), layer);
        }
    }
}

} // namespace nimbara

#include "ui/scene_tab.h"

#include "app/i18n.h"
#include "ui/controls.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include <initializer_list>

namespace nimbara {

namespace {

struct ButtonText {
    const char *spanish;
    const char *name;
};

QHBoxLayout *makeDisabledRow(std::initializer_list<ButtonText> texts)
{
    auto *row = new QHBoxLayout;
    for (const ButtonText &text : texts) {
        QPushButton *button = makeButton(text.spanish, text.name);
        button->setEnabled(false);
        row->addWidget(button);
    }
    row->addStretch();
    return row;
}

} // namespace

SceneTab::SceneTab(QWidget *parent)
    : QWidget(parent)
    , m_layers(named(new QListWidget,
          "layers",
          nimbara_i18n::tr("Fuentes de la escena (arriba = encima)")))
{
    m_layers->setMinimumWidth(260);
    auto *columns = new QHBoxLayout(this);
    columns->addLayout(makeSceneColumn(), 1);
    columns->addLayout(makePropertiesColumn(), 1);
    connect(m_layers, &QListWidget::currentItemChanged, this, [this](const QListWidgetItem *item) {
        if (item != nullptr) {
            Q_EMIT layerSelected(item->data(Qt::UserRole).toInt());
        }
    });
    connect(m_layers, &QListWidget::itemChanged, this, &SceneTab::itemChanged);
}

QVBoxLayout *SceneTab::makeSceneColumn()
{
    auto *column = new QVBoxLayout;
    column->addWidget(new QLabel(nimbara_i18n::tr("Escenas")));
    column->addLayout(makeDisabledRow({ { "+ Escena", "newScene" },
        { "Renombrar", "renameScene" },
        { "Duplicar", "duplicateScene" },
        { "Eliminar escena", "deleteScene" } }));
    column->addWidget(new QLabel(nimbara_i18n::tr("Fuentes de la escena (arriba = encima)")));
    column->addWidget(m_layers, 1);

    auto *verseRow = new QHBoxLayout;
    auto *verse = named(new QLineEdit, "quickVerse");
    verse->setPlaceholderText(
        nimbara_i18n::tr("Cita bíblica rápida: Juan 3:16, Salmos 23, 1 Co 13:4-7  ⏎"));
    verse->setEnabled(false);
    verseRow->addWidget(verse, 1);
    verseRow->addLayout(makeDisabledRow({ { "Mostrar versículo", "showVerse" } }));
    column->addLayout(verseRow);
    column->addLayout(makeDisabledRow({ { "+ Fuente", "addSource" },
        { "▲", "layerUp" },
        { "▼", "layerDown" },
        { "Eliminar", "deleteLayer" } }));
    return column;
}

QVBoxLayout *SceneTab::makePropertiesColumn()
{
    auto *column = new QVBoxLayout;
    column->addWidget(
        new QLabel(nimbara_i18n::tr("Selecciona una fuente en la lista o en Preparación.")));
    column->addStretch();
    return column;
}

void SceneTab::showLayers(const Scene &scene, std::int32_t selected)
{
    const QSignalBlocker blocker(m_layers);
    m_layers->clear();
    for (auto index = static_cast<std::int32_t>(scene.layers.size()) - 1; index >= 0; --index) {
        const Layer &layer = scene.layers[static_cast<std::size_t>(index)];
        auto *item = new QListWidgetItem(QString::fromUtf8(layer.visible ? "👁  " : "🚫  ")
                + layer.name + QStringLiteral("   ·  ") + displayName(layer.kind),
            m_layers);
        item->setData(Qt::UserRole, index);
        item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
        item->setCheckState(layer.visible ? Qt::Checked : Qt::Unchecked);
        item->setToolTip(nimbara_i18n::tr("Marca para mostrar, desmarca para ocultar"));
        if (index == selected) {
            m_layers->setCurrentItem(item);
        }
    }
}

void SceneTab::itemChanged(const QListWidgetItem *item)
{
    Q_EMIT layerChecked(item->data(Qt::UserRole).toInt(), item->checkState() == Qt::Checked);
}

} // namespace nimbara

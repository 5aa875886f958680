#include "ui/editor/legibility_view.h"

#include "base/i18n.h"
#include "ui/editor/properties_panel.h"
#include "ui/editor/scene_tab.h"

#include <QLocale>

namespace nimbara {

LegibilityView::LegibilityView(Studio &studio, SceneTab &tab)
    : m_studio(studio)
    , m_tab(tab)
{
    PropertiesPanel *panel = tab.properties();
    panel->troubleOf = [this](LayerId layer) { return trouble(layer); };
    panel->canMend = [this](LayerId layer) { return m_studio.legibility().of(layer).isPale(); };
    connect(panel, &PropertiesPanel::legibleWanted, this, &LegibilityView::mend);
    connect(&studio.legibility(), &LegibilityWatch::changed, this, &LegibilityView::show);
}

QString LegibilityView::trouble(LayerId layer) const
{
    const TextSight sight = m_studio.legibility().of(layer);
    QStringList words;
    if (sight.isPale()) {
        words += nimbara_i18n::tr("Cuesta leerlo: contraste %1 : 1, hacen falta 4,5 : 1.")
                     .arg(QLocale().toString(*sight.contrast, 'f', 1));
    }
    if (sight.hasSmallLetters) {
        words += nimbara_i18n::tr("Letras pequeñas para la última fila: desde tamaño %1 se leen.")
                     .arg(leastLetters);
    }
    return words.join(QLatin1Char(' '));
}

void LegibilityView::show()
{
    std::map<LayerId, QString> troubles;
    const ScenePtr scene = m_studio.document().currentScene();
    for (const Layer &layer : scene->layers) {
        if (const QString words = trouble(layer.id); !words.isEmpty()) {
            troubles.emplace(layer.id, words);
        }
    }
    m_tab.showTroubles(std::move(troubles), *scene);
    for (const Layer &layer : scene->layers) {
        m_tab.properties()->refresh(layer);
    }
}

void LegibilityView::mend(LayerId id)
{
    const Layer *layer = findLayer(m_studio.document().scenes(), id);
    if (layer == nullptr) {
        return;
    }
    const Layer legible = madeLegible(*layer);
    m_studio.document().apply({ SetField { id, LayerField::Shadow, legible.shadow },
        SetField { id, LayerField::OutlineWidth, legible.outlineWidth },
        SetField { id, LayerField::Background, legible.background } });
}

} // namespace nimbara

#include "ui/editor/legibility_view.h"

#include "base/error.h"
#include "base/i18n.h"
#include "ui/editor/properties_panel.h"
#include "ui/editor/scene_tab.h"

#include <QLocale>

namespace nimbara {

namespace {

/// Why no outline and no box mends the layer.
Message hopeless(const Layer &layer)
{
    const auto from = legibleFrom(layer);
    return from ? Message("Ni un contorno ni un fondo bastan con esta opacidad: súbela al %1 %.",
               { Message::verbatim(QString::number(*from)) })
                : Message("Ni un contorno ni un fondo bastan: el color de las letras es demasiado "
                          "transparente.");
}

} // namespace

LegibilityView::LegibilityView(Studio &studio, const ErrorGuard &guard, SceneTab &tab)
    : m_studio(studio)
    , m_guard(guard)
    , m_tab(tab)
{
    PropertiesPanel *panel = tab.properties();
    panel->troubleOf = [this](LayerId layer) { return trouble(layer); };
    panel->canMend = [this](LayerId layer) { return canMend(layer); };
    connect(panel, &PropertiesPanel::legibleWanted, this, [this](LayerId layer) {
        m_guard.run([&] { mend(layer); });
    });
    connect(&studio.legibility(), &LegibilityWatch::changed, this, &LegibilityView::show);
}

QString LegibilityView::trouble(LayerId layer) const
{
    const TextSight sight = m_studio.legibility().of(layer);
    QStringList words;
    if (sight.isPale()) {
        words += nimbara_i18n::tr("Cuesta leerlo: contraste %1 : 1, hacen falta 4,5 : 1.")
                     .arg(QLocale().toString(*sight.contrast, 'f', 1));
        const Layer *found = findLayer(m_studio.document().scenes(), layer);
        if (found != nullptr && !madeLegible(*found)) {
            words += nimbara_i18n::tr(hopeless(*found));
        }
    }
    if (sight.hasSmallLetters) {
        words += nimbara_i18n::tr("Letras pequeñas para la última fila: desde tamaño %1 se leen.")
                     .arg(leastLetters);
    }
    return words.join(QLatin1Char(' '));
}

bool LegibilityView::canMend(LayerId layer) const
{
    const Layer *found = findLayer(m_studio.document().scenes(), layer);
    return found != nullptr && m_studio.legibility().of(layer).isPale() && madeLegible(*found);
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
    const auto legible = madeLegible(*layer);
    if (!legible) {
        throw Error(hopeless(*layer));
    }
    m_studio.document().apply({ SetField { id, LayerField::Shadow, legible->shadow },
        SetField { id, LayerField::OutlineWidth, legible->outlineWidth },
        SetField { id, LayerField::Background, legible->background } });
}

} // namespace nimbara

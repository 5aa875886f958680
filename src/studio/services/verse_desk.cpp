#include "studio/services/verse_desk.h"

#include "base/i18n.h"
#include "compositor/text/text_overflow.h"

#include <utility>

namespace nimbara {

namespace {

QString hiddenLinesText(std::int32_t lines)
{
    return lines == 1
        ? nimbara_i18n::tr("El texto no cabe en su recuadro: 1 línea oculta")
        : nimbara_i18n::tr("El texto no cabe en su recuadro: %1 líneas ocultas").arg(lines);
}

} // namespace

VerseDesk::VerseDesk(const Endpoint &openAi, const Endpoint &apiBible, Stage &stage, Report status)
    : m_stage(stage)
    , m_status(std::move(status))
    , m_api(apiBible)
    , m_translator(openAi)
    , m_lookup(m_api, m_translator)
{
    m_lookup.statusChanged = [this](auto place, const QString &text) { tell(place, text); };
    m_lookup.failed = [this](const QString &text) { onFailed(text); };
    m_lookup.holdsVerse = [this](auto place) { return verseLayer(place) != nullptr; };
    m_lookup.updateLayer
        = [this](auto place, const bible::VerseUpdate &update) { write(place, update); };
}

void VerseDesk::lookupVerse(std::int32_t layer,
    const QString &typed,
    const bible::VerseLookup::Source &source)
{
    const auto count = static_cast<std::int32_t>(m_stage.scenes.currentScene().layers.size());
    if (layer >= 0 && layer < count) {
        m_lookup.lookupVerse(static_cast<bible::VerseLookup::LayerId>(layer), typed, source);
    }
}

std::int32_t VerseDesk::quickVerseLayer()
{
    const std::vector<Layer> &layers = m_stage.scenes.currentScene().layers;
    for (auto index = static_cast<std::int32_t>(layers.size()) - 1; index >= 0; --index) {
        if (layers[static_cast<std::size_t>(index)].kind == LayerKind::Verse) {
            return index;
        }
    }
    return m_stage.scenes.addLayer(newLayer(LayerKind::Verse));
}

void VerseDesk::listBibles(const QString &key, bible::Api::BiblesCallback done)
{
    m_api.bibles(key, QStringLiteral("spa"), std::move(done));
}

void VerseDesk::setKeys(bible::VerseLookup::KeySource apiBible,
    bible::VerseLookup::KeySource openAi)
{
    m_lookup.apiBibleKey = std::move(apiBible);
    m_lookup.openAiKey = std::move(openAi);
}

Layer *VerseDesk::verseLayer(bible::VerseLookup::LayerId place)
{
    std::vector<Layer> &layers = m_stage.scenes.currentScene().layers;
    const bool holds = place < layers.size() && layers[place].kind == LayerKind::Verse;
    return holds ? &layers[place] : nullptr;
}

void VerseDesk::write(bible::VerseLookup::LayerId place, const bible::VerseUpdate &update)
{
    Layer *layer = verseLayer(place);
    if (layer == nullptr) {
        return;
    }
    layer->text = update.text;
    layer->reference = update.reference;
    layer->name = update.name.value_or(layer->name);
    onLayerWritten(static_cast<std::int32_t>(place));
}

void VerseDesk::tell(bible::VerseLookup::LayerId place, const QString &text)
{
    const Layer *layer = verseLayer(place);
    const std::int32_t hidden = layer == nullptr ? 0 : hiddenLines(*layer, m_stage.previewFrame());
    m_status(hidden == 0 ? text : text + QStringLiteral(" · ") + hiddenLinesText(hidden));
}

} // namespace nimbara

#include "studio/services/verse_desk.h"

#include "base/when_finished.h"
#include "bible/builtin.h"
#include "compositor/text/text_overflow.h"
#include "studio/services/second_verse.h"

#include <algorithm>
#include <utility>

namespace nimbara {

namespace {

Message hiddenLinesText(std::int32_t lines)
{
    return lines == 1 ? Message("El texto no cabe en su recuadro: 1 línea oculta")
                      : Message("El texto no cabe en su recuadro: %1 líneas ocultas",
                          { Message::verbatim(QString::number(lines)) });
}

} // namespace

Message pageText(const QString &label, std::size_t page, std::size_t pages)
{
    const Message text("página %1 de %2",
        { Message::verbatim(QString::number(page + 1)),
            Message::verbatim(QString::number(pages)) });
    return label.isEmpty() ? text : Message::verbatim(label + QStringLiteral(" · ")) + text;
}

Message hiddenText(const Layer &layer, const VersePages &pages, FrameSize frame)
{
    const VersePage &page = pages.pages[pages.shown(layer)];
    const std::int32_t hidden = hiddenLines(pageShown(layer, pages), frame, page.numbers);
    return hidden == 0 ? Message() : hiddenLinesText(hidden);
}

VerseDesk::VerseDesk(const Endpoint &openAi,
    const Endpoint &apiBible,
    Stage &stage,
    Report status,
    const QFuture<void> &ready)
    : m_stage(stage)
    , m_status(std::move(status))
    , m_api(apiBible)
    , m_translator(openAi)
    , m_ready(ready)
    , m_lookup(m_api, m_translator, ready)
{
    m_lookup.statusChanged
        = [this](auto id, const Message &message) { tell(LayerId::of(id), message); };
    m_lookup.failed = [this](const Message &error) { Q_EMIT failed(error); };
    m_lookup.holdsVerse = [this](auto id) {
        return verseLayer(LayerId::of(id)) != nullptr || isPlanned(LayerId::of(id));
    };
    m_lookup.ended = [this](auto id) { Q_EMIT lookupEnded(LayerId::of(id)); };
    m_lookup.updateLayer
        = [this](auto id, const bible::VerseUpdate &update) { receive(LayerId::of(id), update); };
}

void VerseDesk::lookupVerse(LayerId layer,
    const QString &typed,
    const bible::VerseLookup::Source &source)
{
    const Layer *found = verseLayer(layer);
    if (found != nullptr || isPlanned(layer)) {
        // What is asked for now replaces what stands there, whoever wrote that, but not what is
        // written from now on.
        const auto written = m_written.extract(layer);
        if (found != nullptr) {
            m_written.emplace(layer, found->text);
        }
        try {
            m_lookup.lookupVerse(layer.value(), typed, source);
        } catch (...) {
            m_written.erase(layer);
            if (written) {
                m_written.emplace(layer, written.mapped());
            }
            throw;
        }
        setWaiting(layer, std::nullopt);
    }
}

LayerId VerseDesk::quickVerseLayer()
{
    const Scene &scene = *m_stage.document.currentScene();
    const std::vector<Layer> &layers = scene.layers;
    const auto found = std::find_if(layers.rbegin(), layers.rend(), [](const Layer &each) {
        return each.kind == LayerKind::Verse;
    });
    if (found != layers.rend()) {
        return found->id;
    }
    for (const auto &[layer, place] : m_planned) {
        if (place == scene.id) {
            return layer;
        }
    }
    const LayerId id = LayerId::make();
    m_planned.emplace(id, scene.id);
    return id;
}

void VerseDesk::useWaiting(LayerId layer)
{
    const auto waiting = m_waiting.find(layer);
    if (waiting != m_waiting.end()) {
        const bible::VerseUpdate update = waiting->second;
        setWaiting(layer, std::nullopt);
        write(layer, update);
    }
}

void VerseDesk::setSecond(LayerId layer, const QString &bible)
{
    // They are read for tens of milliseconds after the start.
    whenFinished(m_ready, this, [this, layer, bible] { showSecond(layer, bible); });
}

void VerseDesk::showSecond(LayerId id, const QString &bible)
{
    const Layer *layer = verseLayer(id);
    if (layer == nullptr) {
        return;
    }
    Layer changed = *layer;
    changed.second = bible;
    const SecondText second = secondOf(changed, layer->reference);
    changed.secondText = second.text;
    const SetVerse verse { id, layer->text, layer->reference, layer->name, 0, second };
    m_stage.document.apply({ verse, SetField { id, LayerField::Second, bible } });
    if (const Message missing = missingSecond(changed); !missing.isEmpty()) {
        m_status(missing);
    }
}

void VerseDesk::keepStyle(LayerId layer)
{
    if (const Layer *verse = verseLayer(layer)) {
        m_stage.document.setVerseStyle(verseStyleOf(*verse));
        m_status("Los versículos nuevos del proyecto tendrán este estilo.");
    }
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

const Layer *VerseDesk::verseLayer(LayerId id) const
{
    const Layer *layer = findLayer(m_stage.document.scenes(), id);
    return layer != nullptr && layer->kind == LayerKind::Verse ? layer : nullptr;
}

bool VerseDesk::isPlanned(LayerId id) const
{
    const auto planned = m_planned.find(id);
    return planned != m_planned.end() && placeOf(m_stage.document.scenes(), planned->second);
}

void VerseDesk::add(LayerId id, const bible::VerseUpdate &update)
{
    Layer layer = m_stage.document.newVerseLayer();
    layer.id = id;
    setVerse(layer,
        { id, update.text, update.reference, update.name, 0, secondOf(layer, update.reference) });
    const SceneId scene = m_planned.extract(id).mapped();
    m_stage.document.apply(AddLayer { scene, std::move(layer) });
    Q_EMIT quickVerseAdded(id);
}

void VerseDesk::receive(LayerId id, const bible::VerseUpdate &update)
{
    const Layer *layer = verseLayer(id);
    const auto written = m_written.find(id);
    if (layer != nullptr && written != m_written.end() && layer->text != written->second) {
        setWaiting(id, update);
    } else {
        write(id, update);
    }
}

void VerseDesk::write(LayerId id, const bible::VerseUpdate &update)
{
    m_written[id] = update.text;
    if (isPlanned(id)) {
        add(id, update);
        return;
    }
    const Layer *layer = verseLayer(id);
    const SecondText second = layer != nullptr ? secondOf(*layer, update.reference) : SecondText {};
    m_stage.document.apply(SetVerse { id, update.text, update.reference, update.name, 0, second });
    Q_EMIT written(id, !update.name);
}

void VerseDesk::setWaiting(LayerId id, std::optional<bible::VerseUpdate> update)
{
    const bool changes = update || m_waiting.contains(id);
    if (update) {
        m_waiting.insert_or_assign(id, std::move(*update));
    } else {
        m_waiting.erase(id);
    }
    if (changes) {
        Q_EMIT waitingChanged(id);
    }
}

void VerseDesk::tell(LayerId id, const Message &said)
{
    const Layer *layer = verseLayer(id);
    if (layer == nullptr) {
        m_status(said);
        return;
    }
    const Message dot = Message::verbatim(QStringLiteral(" · "));
    const Message missing = missingSecond(*layer);
    const Message text = missing.isEmpty() ? said : said + dot + missing;
    const FrameSize frame = m_stage.previewFrame();
    const VersePages &pages = m_stage.pager->pages(*layer, frame);
    const Message told = pages.pages.size() > 1
        ? text + dot + pageText({}, pages.shown(*layer), pages.pages.size())
        : text;
    const Message hidden = hiddenText(*layer, pages, frame);
    m_status(hidden.isEmpty() ? told : told + dot + hidden);
}

} // namespace nimbara

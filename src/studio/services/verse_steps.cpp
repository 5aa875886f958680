#include "studio/services/verse_steps.h"

#include "bible/builtin.h"
#include "bible/next_verse.h"
#include "bible/verse_flow.h"
#include "studio/services/second_verse.h"

#include <QScopeGuard>

#include <algorithm>
#include <limits>
#include <tuple>
#include <utility>

namespace nimbara {

namespace {

const QString dot = QStringLiteral(" · ");
constexpr std::int32_t lastPage = std::numeric_limits<std::int32_t>::max(); ///< however many

const Layer *frontVerse(const ScenePtr &scene)
{
    if (!scene) {
        return nullptr;
    }
    const auto found = std::find_if(scene->layers.rbegin(),
        scene->layers.rend(),
        [](const Layer &layer) { return layer.kind == LayerKind::Verse && layer.visible; });
    return found != scene->layers.rend() ? &*found : nullptr;
}

bool showsSame(const Layer &one, const Layer &other)
{
    if (one.reference == other.reference) {
        return one.text == other.text;
    }
    const auto passage = passageOf(one.reference);
    return passage && passage == passageOf(other.reference);
}

/// The name of the Bible behind the reference; of a translation in the operator's language.
QString sourceOf(const Layer &layer)
{
    const QString source = nimbara::sourceOf(layer.reference);
    return bible::isTranslationName(source) ? bible::translationName() : source;
}

/// The Bible of this computer that the layer's text is from; none for an online text.
bible::BiblePtr bibleOf(const Layer &layer)
{
    return bible::bibleWithName(sourceOf(layer));
}

/// What the reference of a verse that is looked up now would name.
QString chosenSource(const BibleDesk &bibles)
{
    const QString choice = bibles.resolvedChoice();
    if (choice == QLatin1String("api")) {
        return bible::sourceName(bibles.online().text);
    }
    if (bible::translationTarget(choice)) {
        return bible::translationName();
    }
    const bible::BiblePtr bible = bible::firstBible(choice);
    return bible != nullptr ? bible->name : QString();
}

/// No text where the Bible has nothing of the passage.
SetVerse verseFrom(const bible::Bible &bible, const bible::Passage &passage, LayerId layer)
{
    if (bible::passageText(bible, passage).isEmpty()) {
        return { layer,
            QString(),
            bible::referenceLine(bible, passage),
            bible::label(passage, bible.lang) };
    }
    const bible::VerseUpdate update = bible::builtInVerse(bible, passage, bible.lang);
    return { layer, update.text, update.reference, update.name };
}

SetVerse verseOf(const Layer &layer, std::int32_t page)
{
    return { layer.id,
        layer.text,
        layer.reference,
        layer.name,
        page,
        { layer.secondText, layer.secondReference } };
}

Layer withVerse(Layer layer, const SetVerse &verse)
{
    setVerse(layer, verse);
    return layer;
}

/// The verse behind or before a passage.
std::optional<bible::Passage>
neighbour(const bible::Bible &bible, const bible::Passage &passage, VerseSteps::Direction direction)
{
    return direction == VerseSteps::Direction::On ? bible::verseAfter(bible, passage)
                                                  : bible::verseBefore(bible, passage);
}

/// The same of what the layer shows: where it shows its second Bible, too, nothing that one of the
/// two has is left out. `first`: its first Bible.
std::optional<bible::Passage> neighbourOf(const Layer &layer,
    const bible::Bible &first,
    const bible::Passage &passage,
    VerseSteps::Direction direction)
{
    const bible::BiblePtr second
        = layer.shows == shown_bibles::first ? nullptr : bible::bibleWithId(layer.second);
    const auto next = neighbour(first, passage, direction);
    const auto other = second != nullptr ? neighbour(*second, passage, direction) : std::nullopt;
    if (!next || !other) {
        return next ? next : other;
    }
    const auto place = [](const bible::Passage &verse) {
        const bible::Span &span = verse.spans.first();
        return std::tuple(verse.book, span.chapterFrom, span.verseFrom);
    };
    const bool isOn = direction == VerseSteps::Direction::On;
    return (place(*other) < place(*next)) == isOn ? other : next;
}

/// There is no text behind or before what stands there.
Message endOf(const bible::Bible &bible, VerseSteps::Direction direction)
{
    const bool isOn = direction == VerseSteps::Direction::On;
    if (!bible.isImported) {
        return isOn ? "Es el último versículo de la Biblia."
                    : "Es el primer versículo de la Biblia.";
    }
    return { isOn ? "Es el último versículo de %1." : "Es el primer versículo de %1.",
        { Message::verbatim(bible.name) } };
}

/// Where an online text cannot be had: the built-in Bible of the language that its label is in.
bible::BiblePtr standIn(const Layer &layer, const bible::Passage &shown)
{
    const QString english = QStringLiteral("en");
    const bool isEnglish = bible::label(shown, english) == labelOf(layer.reference);
    return bible::firstBible(isEnglish ? english : QStringLiteral("es"));
}

} // namespace

VerseSteps::VerseSteps(const Surroundings &surroundings)
    : m_surroundings(surroundings)
    , m_ready(bible::prepare())
{
    connect(&surroundings.verses, &VerseDesk::written, this, &VerseSteps::receive);
    const auto prepare = [this](LayerId layer) {
        m_stepped = layer;
        m_hasStepped = true;
    };
    connect(&surroundings.verses, &VerseDesk::written, this, prepare);
    connect(&surroundings.verses, &VerseDesk::quickVerseAdded, this, prepare);
    connect(&surroundings.verses, &VerseDesk::lookupEnded, this, &VerseSteps::showAwaited);
}

void VerseSteps::step(LayerId layer, Direction direction)
{
    m_stepped = layer;
    m_stepsOnAir = false;
    stepFrom(leadNow(), direction);
}

void VerseSteps::stepOnAir(LayerId layer, Direction direction)
{
    m_stepped = layer;
    m_stepsOnAir = true;
    stepFrom(leadNow(), direction);
}

/// Where a step sets out from: the next one, where nothing is said otherwise.
std::optional<VerseSteps::Spot> VerseSteps::leadNow() const
{
    const std::optional<Spot> shown = m_stepsOnAir ? spotOnAir() : std::nullopt;
    return shown ? shown : spotOf(m_stepped);
}

void VerseSteps::stepFrom(const std::optional<Spot> &lead, Direction direction)
{
    if (!lead) {
        Q_EMIT said("No hay ningún versículo en la escena ni en Programa.");
        return;
    }
    if (m_awaited && m_awaited->from.layer.id == lead->layer.id) {
        Q_EMIT said("El texto en línea está por llegar.");
        return;
    }
    const Spot pace = paceOf(*lead, following(*lead));
    if (const auto page = nextPage(pace, direction)) {
        turn(*lead, pace, *page);
    } else {
        leave(*lead, direction);
    }
}

/// None behind the last page and before the first.
std::optional<std::size_t> VerseSteps::nextPage(const Spot &pace, Direction direction) const
{
    const VersePages &pages = m_surroundings.stage.pager->pages(pace.layer, pace.frame);
    const std::size_t shown = pages.shown(pace.layer);
    if (direction == Direction::On) {
        return shown + 1 < pages.pages.size() ? std::optional(shown + 1) : std::nullopt;
    }
    return shown > 0 ? std::optional(shown - 1) : std::nullopt;
}

/// The one with the most pages, so that no box leaves a page out.
VerseSteps::Spot VerseSteps::paceOf(const Spot &lead, const std::vector<Spot> &followers) const
{
    const auto count = [this](const Spot &spot) {
        return m_surroundings.stage.pager->pages(spot.layer, spot.frame).pages.size();
    };
    Spot pace = lead;
    for (const Spot &spot : followers) {
        if (count(spot) > count(pace)) {
            pace = spot;
        }
    }
    return pace;
}

std::optional<VerseSteps::Spot> VerseSteps::spotOf(LayerId layer) const
{
    const Document &document = m_surroundings.stage.document;
    const FrameSize frame = m_surroundings.stage.previewFrame();
    const Layer *found = findLayer(*document.currentScene(), layer);
    if (found == nullptr || found->kind != LayerKind::Verse) {
        found = frontVerse(document.currentScene());
    }
    return found != nullptr ? Spot { *found, frame } : spotOnAir();
}

std::optional<VerseSteps::Spot> VerseSteps::spotOnAir() const
{
    const Document &document = m_surroundings.stage.document;
    const ProgramState &program = m_surroundings.stage.program;
    const SceneSet other = document.editingHall() ? SceneSet::Streams : SceneSet::Hall;
    for (const SceneSet set : { document.editing(), other }) {
        const Layer *found = frontVerse(set == SceneSet::Hall ? program.hall() : program.streams());
        if (found != nullptr) {
            return Spot { *found, m_surroundings.stage.frameOf(set) };
        }
    }
    return std::nullopt;
}

std::vector<VerseSteps::Spot> VerseSteps::onAir() const
{
    const ProgramState &program = m_surroundings.stage.program;
    std::vector<Spot> spots;
    for (const SceneSet set : bothSets) {
        const ScenePtr &scene = set == SceneSet::Hall ? program.hall() : program.streams();
        for (const Layer &layer : scene ? scene->layers : std::vector<Layer>()) {
            if (layer.kind == LayerKind::Verse) {
                spots.push_back({ layer, m_surroundings.stage.frameOf(set) });
            }
        }
    }
    return spots;
}

/// What steps on air along with the layer: nothing when the layer is not on air as it stands.
std::vector<VerseSteps::Spot> VerseSteps::following(const Spot &lead) const
{
    std::vector<Spot> spots = onAir();
    std::erase_if(spots, [&](const Spot &spot) { return !showsSame(spot.layer, lead.layer); });
    const bool isOnAir = std::any_of(spots.begin(), spots.end(), [&](const Spot &spot) {
        return spot.layer.id == lead.layer.id;
    });
    return isOnAir ? spots : std::vector<Spot>();
}

/// In the project the layer still shows what the other one shows.
bool VerseSteps::isPrepared(const Layer &shown, LayerId layer) const
{
    const Layer *prepared = findLayer(m_surroundings.stage.document.scenes(), layer);
    return prepared != nullptr && showsSame(*prepared, shown);
}

/// The page of a layer that shows what a page of the pace shows: of as many pages the same one, the
/// last one for the last, else the one with its beginning.
std::int32_t
VerseSteps::matchingPage(const Spot &spot, const VersePages &pace, std::size_t page) const
{
    const VersePages &own = m_surroundings.stage.pager->pages(spot.layer, spot.frame);
    if (pace.pages.size() == own.pages.size()) {
        return static_cast<std::int32_t>(page);
    }
    std::size_t found = page + 1 == pace.pages.size() ? own.pages.size() - 1 : 0;
    while (found + 1 < own.pages.size() && own.pages[found + 1].place <= pace.pages[page].place) {
        ++found;
    }
    return static_cast<std::int32_t>(found);
}

void VerseSteps::turn(const Spot &lead, const Spot &pace, std::size_t page)
{
    const VersePages pages = m_surroundings.stage.pager->pages(pace.layer, pace.frame);
    const auto pageOf = [&](const Spot &spot) { return matchingPage(spot, pages, page); };
    std::vector<SetVerse> followers;
    std::vector<Edit> edits; // a run of pages is one step of undo
    const auto turnPrepared = [&](const Spot &spot) {
        if (isPrepared(spot.layer, spot.layer.id)) {
            edits.emplace_back(SetField { spot.layer.id, LayerField::Page, pageOf(spot) });
        }
    };
    for (const Spot &spot : following(lead)) {
        followers.push_back(verseOf(spot.layer, pageOf(spot)));
        if (spot.layer.id != lead.layer.id) {
            turnPrepared(spot);
        }
    }
    turnPrepared(lead);
    if (!edits.empty()) {
        m_surroundings.stage.document.apply(edits);
    }
    m_surroundings.program.amend(followers);
    tell(lead, verseOf(lead.layer, pageOf(lead)));
}

/// Goes on to the verse behind or before what the layer shows.
void VerseSteps::leave(const Spot &lead, Direction direction)
{
    if (!m_ready.isFinished()) {
        return; // for tens of milliseconds after the start
    }
    const auto passage = passageOf(lead.layer.reference);
    if (!passage) {
        Q_EMIT said("El texto no tiene más páginas.");
        return;
    }
    const bible::BiblePtr bible = bibleOf(lead.layer);
    const bible::Bible &counted = bible != nullptr ? *bible : bible::spanish();
    const auto next = neighbourOf(lead.layer, counted, *passage, direction);
    if (!next) {
        Q_EMIT said(endOf(counted, direction));
        return;
    }
    if (bible != nullptr) {
        show(lead, *next, direction, verseFrom(*bible, *next, lead.layer.id));
    } else {
        askOnline(lead, *next, direction);
    }
}

/// The built-in text stands in PREVIEW meanwhile; on air the verse before stays until the text is
/// there.
void VerseSteps::askOnline(const Spot &lead, const bible::Passage &passage, Direction direction)
{
    if (!isPrepared(lead.layer, lead.layer.id)) {
        Q_EMIT said("El texto no tiene más páginas.");
        return;
    }
    const QString source = sourceOf(lead.layer);
    if (!source.isEmpty() && source != chosenSource(m_surroundings.bibles)) {
        Q_EMIT said({ "El texto es de %1, que no es la Biblia elegida: elígela para seguir.",
            { Message::verbatim(source) } });
        return;
    }
    m_awaited = Awaited { lead, passage, direction };
    m_isAsking = true; // what is written and ended meanwhile is of this lookup
    const auto asked = qScopeGuard([this] { m_isAsking = false; });
    try {
        m_surroundings.bibles.lookUp(lead.layer.id, bible::label(passage, QStringLiteral("es")));
    } catch (...) {
        m_awaited.reset();
        throw;
    }
}

void VerseSteps::receive(LayerId layer, bool isFinal)
{
    if (isFinal) {
        showAwaited(layer);
    } else if (!m_isAsking && m_awaited && m_awaited->from.layer.id == layer) {
        m_awaited.reset(); // another reference was typed
    }
}

/// What stands in PREVIEW by now: the online text, or the built-in one where that did not come.
void VerseSteps::showAwaited(LayerId layer)
{
    if (!m_awaited || m_awaited->from.layer.id != layer) {
        return;
    }
    const Awaited awaited = *std::exchange(m_awaited, std::nullopt);
    const Layer *now = findLayer(m_surroundings.stage.document.scenes(), layer);
    if (now != nullptr && passageOf(now->reference) == awaited.passage) {
        show(awaited.from, awaited.passage, awaited.direction, verseOf(*now, 0));
    }
}

/// `verse`: for the leading layer.
void VerseSteps::show(const Spot &lead,
    const bible::Passage &passage,
    Direction direction,
    const SetVerse &verse)
{
    SetVerse leading = verse;
    leading.second = secondOf(lead.layer, passage);
    std::vector<SetVerse> followers;
    for (const Spot &spot : following(lead)) {
        followers.push_back(placed(spot, followed(spot, lead, passage, leading), direction));
    }
    apply(lead, placed(lead, std::move(leading), direction), followers);
}

/// What a layer that steps along shows of the passage. Where its Bible has nothing of it, its
/// second one stands in, or else the text of the leading layer: no program stays behind, and
/// nothing blank goes on air.
SetVerse VerseSteps::followed(const Spot &spot,
    const Spot &lead,
    const bible::Passage &passage,
    const SetVerse &verse)
{
    bible::BiblePtr bible = bibleOf(spot.layer);
    const bool isOther = sourceOf(spot.layer) != sourceOf(lead.layer);
    if (bible == nullptr && isOther) { // another online Bible than the leading one
        bible = standIn(spot.layer, *passageOf(lead.layer.reference));
    }
    SetVerse own = verse;
    own.layer = spot.layer.id;
    if (bible != nullptr) {
        own = verseFrom(*bible, passage, spot.layer.id);
    }
    own.second = secondOf(spot.layer, passage);
    if (own.text.isEmpty() && own.second.text.isEmpty()) {
        own.second
            = verse.text.isEmpty() ? verse.second : SecondText { verse.text, verse.reference };
    }
    return own;
}

VerseSteps::Stand VerseSteps::standNow() const
{
    const Stage &stage = m_surroundings.stage;
    return { stage.document.currentScene(),
        stage.program.streams(),
        stage.program.hall(),
        stage.previewFrame(),
        stage.streamFrame() };
}

/// The frame of a step goes first. An edit, a TAKE or another scene may be one of many.
void VerseSteps::useTime(std::int64_t nowUs)
{
    Stand stand = standNow();
    if (stand != m_stand) {
        m_stand = std::move(stand);
        m_standsSinceUs = nowUs;
        m_isReady = false;
    }
    const bool isStill = nowUs - m_standsSinceUs >= stillUs;
    if (std::exchange(m_hasStepped, false) || (isStill && !m_isReady)) {
        m_isReady = true;
        makeReady(leadNow());
    }
}

/// What a step on and one back would show, on air first, so that neither has to measure or to paint
/// a text. What comes from the network is made when it is there.
void VerseSteps::makeReady(const std::optional<Spot> &lead)
{
    if (!lead) {
        m_surroundings.stage.pager->makeAhead({});
        return;
    }
    const std::vector<Spot> followers = following(*lead);
    std::vector<Spot> all = followers;
    all.push_back(*lead);
    const Spot pace = paceOf(*lead, followers);
    const VersePages pages = m_surroundings.stage.pager->pages(pace.layer, pace.frame);
    const bible::BiblePtr bible = m_ready.isFinished() ? bibleOf(lead->layer) : nullptr;
    std::vector<PagedLayer> wanted;
    for (const Direction direction : { Direction::On, Direction::Back }) {
        if (const auto page = nextPage(pace, direction)) {
            for (const Spot &spot : all) {
                wanted.push_back({ spot.layer, spot.frame });
                wanted.back().layer.page = matchingPage(spot, pages, *page);
            }
        } else if (bible != nullptr) {
            const auto next = neighboursOf(*lead, followers, *bible, direction);
            wanted.insert(wanted.end(), next.begin(), next.end());
        }
    }
    m_surroundings.stage.pager->makeAhead(wanted);
}

/// The layers with the verse behind or before; from behind it is entered by its last page.
std::vector<PagedLayer> VerseSteps::neighboursOf(const Spot &lead,
    const std::vector<Spot> &followers,
    const bible::Bible &bible,
    Direction direction)
{
    const auto passage = passageOf(lead.layer.reference);
    const auto next = passage ? neighbourOf(lead.layer, bible, *passage, direction) : std::nullopt;
    std::vector<PagedLayer> layers;
    if (!next) {
        return layers;
    }
    const auto add = [&](const Spot &spot, SetVerse verse) {
        verse.page = direction == Direction::Back ? lastPage : 0;
        layers.push_back({ withVerse(spot.layer, verse), spot.frame });
    };
    SetVerse verse = verseFrom(bible, *next, lead.layer.id);
    verse.second = secondOf(lead.layer, *next);
    for (const Spot &spot : followers) {
        add(spot, followed(spot, lead, *next, verse));
    }
    add(lead, std::move(verse));
    return layers;
}

/// The verse at its first page, or at its last where the operator comes from behind.
SetVerse VerseSteps::placed(const Spot &spot, SetVerse verse, Direction direction)
{
    if (direction == Direction::Back) {
        const Layer layer = withVerse(spot.layer, verse);
        verse.page = static_cast<std::int32_t>(
                         m_surroundings.stage.pager->pages(layer, spot.frame).pages.size())
            - 1;
    }
    return verse;
}

void VerseSteps::apply(const Spot &lead,
    const SetVerse &verse,
    const std::vector<SetVerse> &followers)
{
    Document &document = m_surroundings.stage.document;
    std::vector<Edit> edits;
    for (const SetVerse &follower : followers) {
        if (follower.layer != lead.layer.id && isPrepared(lead.layer, follower.layer)) {
            edits.emplace_back(follower);
        }
    }
    if (isPrepared(lead.layer, verse.layer)) {
        edits.emplace_back(verse);
    }
    if (!edits.empty()) {
        document.apply(edits);
    }
    m_surroundings.program.amend(followers);
    tell(lead, verse);
}

void VerseSteps::tell(const Spot &spot, const SetVerse &verse)
{
    const Layer layer = withVerse(spot.layer, verse);
    const VersePages &pages = m_surroundings.stage.pager->pages(layer, spot.frame);
    const std::size_t page = pages.shown(layer);
    const QString label = labelOf(pages.pages[page].reference);
    const Message shown = pages.pages.size() == 1 ? bible::readyStatus(label)
                                                  : pageText(label, page, pages.pages.size());
    QList<Message> remarks { missingText(layer) };
    for (const Spot &each : following({ layer, spot.frame })) {
        if (const Message missing = missingText(each.layer); !remarks.contains(missing)) {
            remarks << missing;
        }
    }
    remarks << hiddenText(layer, pages, spot.frame);
    Message told = shown;
    for (const Message &more : remarks) {
        told = more.isEmpty() ? told : told + Message::verbatim(dot) + more;
    }
    m_hasStepped = true;
    Q_EMIT said(told);
}

} // namespace nimbara

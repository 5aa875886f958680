#include "studio/services/passage_desk.h"

#include "base/error.h"
#include "bible/verse_flow.h"
#include "studio/services/second_verse.h"

#include <QRegularExpression>
#include <QStringList>

#include <algorithm>
#include <utility>

namespace nimbara {

namespace {

const QString shownSetting = QStringLiteral("shown_passages");
constexpr qsizetype shownFields = 6; ///< of each passage
const QString recentSetting = QStringLiteral("recent_passages"); ///< without their Bibles
constexpr qsizetype recentFields = 2;
constexpr qsizetype mostWords = 60; ///< characters

/// One that is kept from before Bibles were may be of any.
bool isSame(const ShownPassage &one, const ShownPassage &other)
{
    return one.passage.reference == other.passage.reference
        && (one.bible.isEmpty() || one.bible == other.bible);
}

} // namespace

PassageDesk::PassageDesk(const Surroundings &surroundings)
    : m_surroundings(surroundings)
    , m_told(kept())
{
    load();
    connect(&surroundings.document, &Document::changed, this, [this](const Change &change) {
        if ((change.everything || change.settings) && std::exchange(m_told, kept()) != kept()) {
            Q_EMIT keptChanged();
        }
    });
    connect(&surroundings.verses, &VerseDesk::written, this, &PassageDesk::remember);
    connect(&surroundings.verses, &VerseDesk::lookupEnded, this, &PassageDesk::settle);
    connect(&surroundings.verses, &VerseDesk::quickVerseAdded, this, [this](LayerId layer) {
        remember(layer, false);
    });
}

bool PassageDesk::add(const QString &typed)
{
    try {
        keep(bible::requireReference(typed, m_surroundings.bibles.language()));
        return true;
    } catch (const bible::DoubtfulReference &doubt) {
        Q_EMIT said(doubt.message());
        Q_EMIT doubtful(doubt.offers());
        return false;
    }
}

void PassageDesk::keep(const bible::Asked &asked)
{
    const QString lang = m_surroundings.bibles.language();
    const bible::BiblePtr bible = m_surroundings.bibles.firstFor(asked.bible);
    if (bible == nullptr) {
        throw Error("La Biblia elegida no está en este equipo: impórtala o elige otra.");
    }
    const bible::VerseUpdate verse = bible::builtInVerse(*bible, asked.passage, lang);
    const QString named = asked.bible.isEmpty() ? QString() : QLatin1Char(' ') + asked.bible;
    std::vector<KeptPassage> passages = kept();
    passages.push_back({ *verse.name + named, firstWords(verse.text) });
    m_surroundings.document.setPassages(std::move(passages));
}

void PassageDesk::remove(std::size_t place)
{
    std::vector<KeptPassage> passages = kept();
    if (place < passages.size()) {
        passages.erase(passages.begin() + static_cast<std::ptrdiff_t>(place));
        m_surroundings.document.setPassages(std::move(passages));
    }
}

void PassageDesk::move(std::size_t place, std::int32_t delta)
{
    std::vector<KeptPassage> passages = kept();
    const auto other = static_cast<std::ptrdiff_t>(place) + delta;
    if (place < passages.size() && other >= 0
        && other < static_cast<std::ptrdiff_t>(passages.size())) {
        std::swap(passages[place], passages[static_cast<std::size_t>(other)]);
        m_surroundings.document.setPassages(std::move(passages));
    }
}

/// `isFinal`: the text is from the network, and the one before only stood in for it.
void PassageDesk::remember(LayerId id, bool isFinal)
{
    const Layer *layer = findLayer(m_surroundings.document.scenes(), id);
    if (layer == nullptr || layer->reference.isEmpty()) {
        return;
    }
    const QString bible = sourceOf(layer->reference);
    ShownPassage shown { { labelOf(layer->reference), firstWords(layer->text) },
        bible,
        m_surroundings.bibles.whereFrom(bible),
        id };
    const bool isKnown = std::any_of(m_recent.begin(),
        m_recent.end(),
        [&shown](const ShownPassage &each) { return !each.standsIn && isSame(each, shown); });
    shown.standsIn = !isFinal && !isKnown;
    const auto passage = passageOf(layer->reference);
    std::erase_if(m_recent, [&](const ShownPassage &each) {
        const bool stoodIn = isFinal && each.standsIn && each.layer == id
            && passageOf(each.passage.reference) == passage;
        return stoodIn || isSame(each, shown);
    });
    m_recent.insert(m_recent.begin(), shown);
    m_recent.resize(std::min(m_recent.size(), mostRecent));
    store();
    Q_EMIT recentChanged();
}

/// What the layer has shown last is no stand-in: nothing else came for it.
void PassageDesk::settle(LayerId layer)
{
    const auto last = std::find_if(m_recent.begin(),
        m_recent.end(),
        [layer](const ShownPassage &each) { return each.layer == layer; });
    if (last != m_recent.end()) {
        last->standsIn = false;
    }
}

/// The fields of a passage one behind the other.
void PassageDesk::load()
{
    const QSettings &settings = m_surroundings.settings;
    const bool hasBibles = settings.contains(shownSetting);
    const QStringList lines
        = settings.value(hasBibles ? shownSetting : recentSetting).toStringList();
    const qsizetype fields = hasBibles ? shownFields : recentFields;
    for (qsizetype line = 0; line + fields <= lines.size() && m_recent.size() < mostRecent;
         line += fields) {
        ShownPassage shown { { lines[line], lines[line + 1] }, {} };
        if (hasBibles) {
            shown.bible = lines[line + 2];
            shown.source = { lines[line + 3], lines[line + 4], lines[line + 5] };
        }
        m_recent.push_back(std::move(shown));
    }
}

void PassageDesk::store() const
{
    QStringList lines;
    for (const ShownPassage &shown : m_recent) {
        lines << shown.passage.reference << shown.passage.words << shown.bible
              << shown.source.choice << shown.source.apiBibleId << shown.source.apiBibleName;
    }
    m_surroundings.settings.setValue(shownSetting, lines);
    m_surroundings.settings.remove(recentSetting);
}

QString firstWords(const QString &text)
{
    static const QRegularExpression number(QStringLiteral("^\\[?[\\d:]+\\]? "));
    QString words = text.simplified().remove(number);
    if (words.size() <= mostWords) {
        return words;
    }
    words.truncate(std::max(words.lastIndexOf(QLatin1Char(' '), mostWords), qsizetype { 1 }));
    return words + QStringLiteral("…");
}

} // namespace nimbara

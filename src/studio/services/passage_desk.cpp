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

const QString recentSetting = QStringLiteral("recent_passages");
constexpr qsizetype mostWords = 60; ///< characters

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
    connect(&surroundings.verses, &VerseDesk::written, this, [this](LayerId layer) {
        remember(layer);
    });
    connect(&surroundings.verses, &VerseDesk::quickVerseAdded, this, [this](LayerId layer) {
        remember(layer);
    });
}

void PassageDesk::add(const QString &typed)
{
    const QString lang = m_surroundings.bibles.language();
    const bible::Asked asked = bible::requireReference(typed, lang);
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

void PassageDesk::remember(LayerId id)
{
    const Layer *layer = findLayer(m_surroundings.document.scenes(), id);
    if (layer == nullptr || layer->reference.isEmpty()) {
        return;
    }
    const KeptPassage shown { labelOf(layer->reference), firstWords(layer->text) };
    std::erase_if(m_recent,
        [&shown](const KeptPassage &each) { return each.reference == shown.reference; });
    m_recent.insert(m_recent.begin(), shown);
    m_recent.resize(std::min(m_recent.size(), mostRecent));
    store();
    Q_EMIT recentChanged();
}

/// References and words in turn.
void PassageDesk::load()
{
    const QStringList lines = m_surroundings.settings.value(recentSetting).toStringList();
    for (qsizetype line = 0; line + 1 < lines.size() && m_recent.size() < mostRecent; line += 2) {
        m_recent.push_back({ lines[line], lines[line + 1] });
    }
}

void PassageDesk::store() const
{
    QStringList lines;
    for (const KeptPassage &passage : m_recent) {
        lines << passage.reference << passage.words;
    }
    m_surroundings.settings.setValue(recentSetting, lines);
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

#include "studio/services/quotation_finder.h"

#include "bible/quoted_verse.h"

#include <algorithm>
#include <utility>

namespace nimbara {

namespace {

constexpr qsizetype stretchWords = 16;
constexpr qsizetype stepWords = 8; ///< from one stretch to the next
constexpr qsizetype fewestWords = 5;
constexpr qsizetype likeliest = 6;
/// Behind a recogniser that hurries, older phrases are let go.
constexpr std::size_t mostWaiting = 12;

} // namespace

QuotationFinder::QuotationFinder(const BibleLibrary &library, QString cacheFolder)
    : m_library(library)
    , m_cacheFolder(std::move(cacheFolder))
{
    connect(&library, &BibleLibrary::changed, this, [this] {
        if (m_search) {
            m_search->renew();
        }
    });
}

QuotationFinder::~QuotationFinder() = default;

void QuotationFinder::hear(const QString &text, bool isGrowing)
{
    const QStringList words = bible::searchWords(text);
    if (words.size() < fewestWords || (isGrowing && !m_waiting.empty())) {
        return;
    }
    if (!m_search) {
        m_search = std::make_unique<bible::VerseSearch>(m_cacheFolder, m_library.ready());
    }
    const auto add = [&](qsizetype from) {
        m_waiting.push_back(
            { words.mid(from, stretchWords).join(QLatin1Char(' ')), text, isGrowing });
    };
    const qsizetype last = std::max<qsizetype>(words.size() - stretchWords, 0);
    for (qsizetype from = 0; !isGrowing && from < last; from += stepWords) {
        add(from);
    }
    add(last);
    while (m_waiting.size() > mostWaiting) {
        m_waiting.pop_front();
    }
    if (!m_isSearching) {
        searchNext();
    }
}

void QuotationFinder::searchNext()
{
    m_isSearching = !m_waiting.empty();
    if (!m_isSearching) {
        return;
    }
    const Stretch stretch = std::move(m_waiting.front());
    m_waiting.pop_front();
    // The blank ends the last word.
    m_search->find(stretch.words + QLatin1Char(' '),
        likeliest,
        [this, stretch](const QList<bible::FoundVerse> &likely) { take(stretch, likely); });
}

void QuotationFinder::take(const Stretch &stretch, const QList<bible::FoundVerse> &likely)
{
    if (const auto verse = bible::verseQuoted(stretch.words, likely)) {
        const bible::Span span { verse->chapter,
            verse->verseFrom,
            verse->chapter,
            verse->verseFrom };
        Q_EMIT found({ verse->book, { span } }, stretch.text, stretch.isGrowing);
    }
    searchNext();
}

} // namespace nimbara

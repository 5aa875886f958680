#include "compositor/text/word_widths.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <list>
#include <utility>

namespace nimbara {

namespace {

constexpr std::size_t mostFonts = 8;

/// Latin letters, digits and the signs of a text, each a glyph of its own.
bool isSimple(QChar sign)
{
    const char16_t code = sign.unicode();
    return (code > 0x20 && code < 0x250) || (code >= 0x2010 && code <= 0x2026);
}

/// "ffi" may be one glyph.
bool mayBeLigature(QChar sign, QChar next)
{
    return sign == QLatin1Char('f') && QStringView(u"fijlt").contains(next);
}

bool isSimple(QStringView word)
{
    for (qsizetype at = 0; at < word.size(); ++at) {
        if (!isSimple(word[at])
            || (at + 1 < word.size() && mayBeLigature(word[at], word[at + 1]))) {
            return false;
        }
    }
    return true;
}

} // namespace

std::shared_ptr<WordWidths> WordWidths::of(const QFont &font)
{
    // Names alone: a font may not outlive the application.
    static thread_local std::list<std::pair<QString, std::shared_ptr<WordWidths>>> known;
    const QString name = font.toString();
    const auto found = std::find_if(known.begin(), known.end(), [&name](const auto &each) {
        return each.first == name;
    });
    if (found != known.end()) {
        known.splice(known.begin(), known, found);
    } else {
        known.emplace_front(name, std::make_shared<WordWidths>(font));
        if (known.size() > mostFonts) {
            known.pop_back();
        }
    }
    return known.front().second;
}

WordWidths::WordWidths(const QFont &font)
{
    constexpr double precision = 0.1; // pixels
    const QFontMetricsF metrics(font);
    for (const char *sample : { "Jehová,",
             "AVATARÁ",
             "Toda",
             "Wayward",
             "«Qué»",
             "kindness",
             "11:16",
             "Thou",
             "LORD's" }) {
        const QString word = QString::fromUtf8(sample);
        m_joins = m_joins
            && std::abs(joined(word, metrics) - metrics.horizontalAdvance(word)) < precision;
    }
}

double WordWidths::width(QStringView word, const QFontMetricsF &metrics)
{
    return m_joins && isSimple(word) ? joined(word, metrics)
                                     : metrics.horizontalAdvance(word.toString());
}

/// Neighbours overlap by one letter.
double WordWidths::joined(QStringView word, const QFontMetricsF &metrics)
{
    const auto widthOf = [&](QStringView letters) {
        const std::uint32_t first = letters.front().unicode();
        const std::uint32_t key
            = letters.size() == 1 ? first : first | std::uint32_t { letters[1].unicode() } << 16;
        const auto known = m_known.constFind(key);
        return known != m_known.cend()
            ? *known
            : *m_known.insert(key, metrics.horizontalAdvance(letters.toString()));
    };
    if (word.size() < 2) {
        return word.isEmpty() ? 0 : widthOf(word);
    }
    double width = 0;
    for (qsizetype at = 0; at + 1 < word.size(); ++at) {
        width += widthOf(word.mid(at, 2)) - (at > 0 ? widthOf(word.mid(at, 1)) : 0);
    }
    return width;
}

} // namespace nimbara

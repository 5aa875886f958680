#include "compositor/scene/verse_paging.h"

#include "compositor/scene/picture_fit.h"
#include "compositor/text/text_overflow.h"

#include <algorithm>
#include <utility>

namespace nimbara {

namespace {

/// Longer texts, in characters, are measured by their words alone.
constexpr qsizetype maxLaidOut = 1500;

Layer withPage(Layer layer, const VersePage &page)
{
    layer.text = page.text;
    layer.reference = page.namesItself ? QString() : page.reference;
    layer.secondText = page.second;
    layer.secondReference = page.secondReference;
    return layer;
}

/// The verses alone.
QString withoutBible(const QString &reference)
{
    return reference.section(QStringLiteral(" · "), 0, 0);
}

/// Appends a text on lines of its own.
void append(PlacedText &all, PlacedText more)
{
    if (more.text.isEmpty()) {
        return;
    }
    if (!all.text.isEmpty()) {
        all.text += QLatin1Char('\n');
    }
    for (RaisedSpan &span : more.raised) {
        span.at += all.text.size();
        all.raised.push_back(span);
    }
    all.text += more.text;
}

} // namespace

VersePaging::VersePaging(const Layer &layer, FrameSize frame)
    : m_layer(layer)
    , m_frame(frame)
    , m_box(pixelBox(QRectF(layer.x, layer.y, layer.w, layer.h), frame))
    , m_arrangement(layer.arrangement)
{
    m_voices.emplace_back(layer.text, layer.reference, layer.numbers);
    if (!layer.secondText.isEmpty()) {
        m_voices.emplace_back(layer.secondText, layer.secondReference, layer.numbers);
        m_pairs = pairWords(m_voices[0].paired(), m_voices[1].paired());
        m_units = nimbara::wordsOf(m_pairs, m_voices[0].paired(), m_voices[1].paired());
    } else {
        m_units = m_voices[0].words();
    }
    if (isBeside() && !hasRoomBeside()) {
        m_arrangement = arrange::above;
    }
}

bool VersePaging::isEmpty() const
{
    return m_units.empty() || block(m_layer.size).draws.front().area.isEmpty();
}

bool VersePaging::isBeside() const
{
    return m_voices.size() > 1 && m_arrangement == arrange::beside;
}

bool VersePaging::isAlternating() const
{
    return m_voices.size() > 1 && m_arrangement == arrange::alternating;
}

/// Each word in its column, without the names of the Bibles, which may be left out.
bool VersePaging::hasRoomBeside() const
{
    const WordBreaks column = breaks(smallest());
    return !hasWideReference(column, false)
        && std::none_of(m_voices.begin(), m_voices.end(), [&column](const VerseVoice &voice) {
               return column.hasWide(voice.text());
           });
}

bool VersePaging::hasWideReference(const WordBreaks &breaks, bool isNamed) const
{
    return m_layer.referencePlace != reference_place::hidden
        && std::any_of(m_voices.begin(), m_voices.end(), [&](const VerseVoice &voice) {
               return breaks.hasWide(isNamed ? voice.reference() : withoutBible(voice.reference()));
           });
}

bool VersePaging::hasWideWord(std::int32_t size) const
{
    const WordBreaks line = breaks(size);
    return hasWideReference(line, true)
        || std::any_of(m_voices.begin(), m_voices.end(), [&line](const VerseVoice &voice) {
               return line.hasWide(voice.text());
           });
}

WordBreaks VersePaging::breaks(std::int32_t size) const
{
    const TextBlock places = block(size);
    return { places.font, places.draws.front().area.width() };
}

std::int32_t VersePaging::smallest() const
{
    return m_layer.paged
        ? std::clamp(m_layer.size * m_layer.smallest / 100, Layer::minSize, m_layer.size)
        : m_layer.size;
}

bool VersePaging::fits(std::int32_t size) const
{
    if (m_layer.text.size() + m_layer.secondText.size() > maxLaidOut) {
        return reach(room(size), 0) == m_units.size() && !hasWideWord(size);
    }
    if (hasWideWord(size)) {
        return false;
    }
    const VersePage all = whole(size);
    Layer sized = withPage(m_layer, all);
    sized.size = size;
    const QRect canvas(0, 0, m_frame.width, m_frame.height);
    return fitsItsAreas(*layerText(sized, m_box, m_frame.height, canvas, all.numbers));
}

VersePage VersePaging::whole(std::int32_t size) const
{
    const WordBreaks line = breaks(size);
    const bool isNamed = !isBeside() || !hasWideReference(line, true);
    return page({ 0, m_units.size() }, { m_layer.referencePlace, isNamed }, line);
}

VersePages VersePaging::split() const
{
    std::int32_t size = smallest();
    Room measured = room(size);
    while (!holdsWords(measured) && size > Layer::minSize) {
        size = std::max(size * 9 / 10, Layer::minSize);
        measured = room(size);
    }
    VersePages split { size, {} };
    const WordBreaks line = breaks(size);
    for (const PageRange &range :
        splitPages(m_units, [&](std::size_t first) { return reach(measured, first); })) {
        split.pages.push_back(page(range, measured.reference, line));
    }
    return split;
}

/// A page has the lines for every part of its longest word.
bool VersePaging::holdsWords(const Room &room) const
{
    for (std::size_t voice = 0; voice < m_voices.size(); ++voice) {
        const std::int32_t lines = isBeside()
            ? room.lines[voice]
            : room.lines[0] / static_cast<std::int32_t>(m_voices.size());
        if (!room.rulers[voice].holdsWords(lines)) {
            return false;
        }
    }
    return true;
}

/// Where the texts go, and their font.
TextBlock VersePaging::block(std::int32_t size) const
{
    Layer sized = m_layer;
    sized.size = size;
    sized.text.clear();
    sized.reference.clear();
    sized.secondReference.clear();
    if (!isBeside()) {
        sized.secondText.clear();
    }
    return *layerText(sized, m_box, m_frame.height, QRect(0, 0, m_frame.width, m_frame.height));
}

VersePaging::Room VersePaging::room(std::int32_t size) const
{
    const TextBlock places = block(size);
    const QRectF area = places.draws.front().area;
    const std::int32_t all = linesIn(area.height(), places.font, m_layer.spacing);
    Room room;
    for (const VerseVoice &voice : m_voices) {
        room.rulers.emplace_back(voice.text(), voice.words(), places.font, area.width());
    }
    const auto fewest = [&room] { return *std::min_element(room.lines.begin(), room.lines.end()); };
    room.reference.place = m_layer.referencePlace;
    room.lines = linesLeft(places, all, true);
    const bool isWide = isBeside() && hasWideReference({ places.font, area.width() }, true);
    if (isWide || 2 * fewest() < all) {
        room.reference.isNamed = false;
        room.lines = linesLeft(places, all, false);
    }
    const std::int32_t least = isBeside() ? 1 : static_cast<std::int32_t>(m_voices.size());
    if (fewest() < least) {
        room.reference.place = reference_place::hidden;
        room.lines.assign(room.lines.size(), std::max(all, 1));
    }
    return room;
}

/// Of `all` lines, those that the references leave to each text, or to all together.
std::vector<std::int32_t>
VersePaging::linesLeft(const TextBlock &places, std::int32_t all, bool isNamed) const
{
    std::vector<std::int32_t> lines;
    std::int32_t left = all;
    for (const VerseVoice &voice : m_voices) {
        const std::int32_t taken = referenceLines(voice, places, all, isNamed);
        lines.push_back(all - taken);
        left -= taken;
    }
    return isBeside() ? lines : std::vector<std::int32_t> { left };
}

std::int32_t VersePaging::referenceLines(const VerseVoice &voice,
    const TextBlock &places,
    std::int32_t most,
    bool isNamed) const
{
    std::int32_t lines = 0;
    if (m_layer.referencePlace == reference_place::hidden) {
        return lines;
    }
    const double width = places.draws.front().area.width();
    for (const QString &whole : { voice.reference(), voice.widestReference() }) {
        const QString reference = isNamed ? whole : withoutBible(whole);
        const std::vector<PageWord> words = pageWords(reference, {});
        lines = std::max(lines, PageRuler(reference, words, places.font, width).lines(most));
    }
    return lines;
}

std::size_t VersePaging::reach(const Room &room, std::size_t first) const
{
    if (m_voices.size() == 1) {
        return room.rulers[0].reach(first, room.lines[0]);
    }
    PageRuler::Lines one(room.rulers[0]);
    PageRuler::Lines other(room.rulers[1]);
    std::size_t unit = first;
    for (; unit < m_pairs.size(); ++unit) {
        if (isAlternating() && m_pairs[unit].beginsVerse) {
            one.end();
            other.end();
        }
        one.add(m_pairs[unit].first);
        other.add(m_pairs[unit].second);
        const bool full = isBeside() ? one.count() > room.lines[0] || other.count() > room.lines[1]
                                     : one.count() + other.count() > room.lines[0];
        if (full) {
            break;
        }
    }
    return unit;
}

PageRange VersePaging::wordsOf(std::size_t voice, PageRange units) const
{
    if (m_voices.size() == 1) {
        return units;
    }
    if (units.first == units.end) {
        return {};
    }
    const auto range
        = [voice](const PagePair &pair) { return voice == 0 ? pair.first : pair.second; };
    return { range(m_pairs[units.first]).first, range(m_pairs[units.end - 1]).end };
}

QString VersePaging::referenceOf(std::size_t voice, PageRange words, bool isNamed) const
{
    const QString reference = m_voices[voice].referenceOf(words);
    return isNamed ? reference : withoutBible(reference);
}

VersePage VersePaging::page(PageRange units, ReferenceForm form, const WordBreaks &breaks) const
{
    if (m_voices.size() == 1) {
        return pageOfOne(units, form, breaks);
    }
    VersePage page;
    const PageRange first = wordsOf(0, units);
    const PageRange second = wordsOf(1, units);
    PlacedText shown = m_voices[0].shown(first);
    PlacedText other = m_voices[1].shown(second);
    const QString otherReference = referenceOf(1, second, form.isNamed);
    page.reference = referenceOf(0, first, form.isNamed);
    page.place = m_voices[0].versesBefore(first.first);
    if (isBeside() && !shown.text.isEmpty() && !other.text.isEmpty()) {
        page.text = std::move(shown.text);
        page.second = std::move(other.text);
        page.namesItself = form.place == reference_place::hidden;
        page.secondReference = page.namesItself ? QString() : otherReference;
        page.numbers = { std::move(shown.raised), std::move(other.raised) };
        return page;
    }
    PlacedText all;
    if (isAlternating()) {
        all = alternating(units, form);
    } else {
        if (!shown.text.isEmpty()) {
            append(all, placed(std::move(shown), page.reference, form.place));
        }
        if (!other.text.isEmpty()) {
            append(all, placed(std::move(other), otherReference, form.place));
        }
    }
    all = breaks.divided(all);
    page.namesItself = true;
    page.text = std::move(all.text);
    page.numbers.first = std::move(all.raised);
    return page;
}

/// Of one voice alone.
VersePage
VersePaging::pageOfOne(PageRange units, ReferenceForm form, const WordBreaks &breaks) const
{
    VersePage page;
    PlacedText shown = m_voices[0].shown(units);
    page.reference = referenceOf(0, units, form.isNamed);
    page.place = m_voices[0].versesBefore(units.first);
    page.namesItself = form.place == reference_place::hidden;
    PlacedText all = placed(shown, page.reference, form.place);
    if (breaks.hasWide(all.text)) {
        page.namesItself = true;
        shown = breaks.divided(all);
    }
    page.text = std::move(shown.text);
    page.numbers.first = std::move(shown.raised);
    return page;
}

/// Verse by verse, and both references where the one would be.
PlacedText VersePaging::alternating(PageRange units, ReferenceForm form) const
{
    PlacedText all;
    for (std::size_t from = units.first; from < units.end;) {
        std::size_t end = from + 1;
        while (end < units.end && !m_pairs[end].beginsVerse) {
            ++end;
        }
        append(all, m_voices[0].shown(wordsOf(0, { from, end })));
        append(all, m_voices[1].shown(wordsOf(1, { from, end })));
        from = end;
    }
    QStringList references;
    for (const std::size_t voice : { std::size_t { 0 }, std::size_t { 1 } }) {
        const PageRange words = wordsOf(voice, units);
        if (words.first != words.end) {
            references << referenceOf(voice, words, form.isNamed);
        }
    }
    return placed(std::move(all), references.join(QLatin1Char('\n')), form.place);
}

} // namespace nimbara

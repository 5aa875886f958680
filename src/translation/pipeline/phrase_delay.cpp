#include "translation/pipeline/phrase_delay.h"

#include <algorithm>

namespace nimbara {

namespace {

constexpr std::size_t fewest = 3; ///< phrases that tell a trend
constexpr std::int64_t slowerMs = 1000;

/// The smallest value that so many hundredths of the values do not exceed.
std::int64_t percentile(std::vector<std::int64_t> values, std::size_t hundredths)
{
    if (values.empty()) {
        return 0;
    }
    const std::size_t rank = (values.size() * hundredths + 99) / 100;
    const auto at
        = values.begin() + static_cast<std::ptrdiff_t>(std::max<std::size_t>(rank, 1) - 1);
    std::nth_element(values.begin(), at, values.end());
    return *at;
}

} // namespace

void DelayMeter::add(const PhraseTimes &times)
{
    const std::array<std::int64_t, delayStages + 1> at { times.spoken,
        times.heard,
        times.transcribed,
        times.asked,
        times.translated,
        times.passed,
        times.shown };
    Phrase phrase { times.shown, {}, times.shown - times.spoken };
    for (std::size_t i = 0; i < delayStages; ++i) {
        phrase.stageMs.at(i) = at.at(i + 1) - at.at(i);
    }
    m_phrases.push_back(phrase);
}

std::vector<DelayMeter::Phrase> DelayMeter::between(std::int64_t fromMs, std::int64_t toMs) const
{
    const auto isBefore = [](const Phrase &phrase, std::int64_t ms) { return phrase.shownMs < ms; };
    const auto from = std::lower_bound(m_phrases.begin(), m_phrases.end(), fromMs, isBefore);
    return { from, std::lower_bound(from, m_phrases.end(), toMs, isBefore) };
}

DelayMeter::Figures DelayMeter::figuresOf(const std::vector<Phrase> &phrases)
{
    std::vector<std::int64_t> values(phrases.size());
    const auto take = [&](auto valueOf) {
        std::transform(phrases.begin(), phrases.end(), values.begin(), valueOf);
    };
    Figures figures;
    figures.phrases = phrases.size();
    take([](const Phrase &phrase) { return phrase.totalMs; });
    figures.medianMs = percentile(values, 50);
    figures.p90Ms = percentile(values, 90);
    for (std::size_t stage = 0; stage < delayStages; ++stage) {
        take([stage](const Phrase &phrase) { return phrase.stageMs.at(stage); });
        figures.stageMs.at(stage) = percentile(values, 50);
    }
    return figures;
}

DelayMeter::Figures DelayMeter::figures(std::int64_t nowMs) const
{
    Figures figures = figuresOf(between(nowMs - windowMs, nowMs + 1));
    const Figures late = figuresOf(between(nowMs - lateMs, nowMs + 1));
    figures.grows = late.phrases >= fewest && late.medianMs > figures.medianMs + slowerMs;
    return figures;
}

DelayMeter::Figures DelayMeter::whole() const
{
    return figuresOf(m_phrases);
}

QList<std::int64_t> DelayMeter::curve(std::int64_t nowMs) const
{
    constexpr std::int64_t stepMs = windowMs / curvePoints;
    // Whole steps, so that a point stays what it is while it moves along.
    const std::int64_t end = (nowMs / stepMs + 1) * stepMs;
    QList<std::int64_t> points;
    for (qsizetype i = curvePoints; i > 0; --i) {
        const auto phrases = between(end - i * stepMs, end - (i - 1) * stepMs);
        points.append(phrases.empty() ? -1 : figuresOf(phrases).medianMs);
    }
    return points;
}

} // namespace nimbara

#pragma once

#include <QString>

#include <cstdint>

/// Captions as they stand in files: SubRip, WebVTT (https://www.w3.org/TR/webvtt1/) and a page in
/// HTML of two texts side by side. Everything ends so that more can be put behind it. Pure; times
/// are milliseconds from the start of the recording, never below 0.
namespace nimbara::cues {

struct Cue {
    std::int64_t fromMs = 0;
    std::int64_t toMs = 0;
    QString text; ///< lines are kept, empty ones are not: they would end the cue
};

/// `number`: from 1.
QString srt(const Cue &cue, std::int64_t number);

/// What a WebVTT file begins with.
QString vttHead();
QString vtt(const Cue &cue);

/// "1:02:03".
QString clock(std::int64_t ms);

/// What the page begins with; a browser needs no end. `original` and `translation`: the names of
/// the two languages.
QString pageHead(const QString &title, const QString &original, const QString &translation);
QString pageRow(std::int64_t ms, const QString &original, const QString &translation);

} // namespace nimbara::cues

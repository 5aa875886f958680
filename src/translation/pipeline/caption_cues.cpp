#include "translation/pipeline/caption_cues.h"

#include <QStringList>

#include <algorithm>

namespace nimbara::cues {

namespace {

QString padded(std::int64_t number, int digits)
{
    return QStringLiteral("%1").arg(number, digits, 10, QLatin1Char('0'));
}

/// "01:02:03" and the milliseconds behind `mark`.
QString stamp(std::int64_t ms, QChar mark)
{
    const std::int64_t at = std::max<std::int64_t>(ms, 0);
    return padded(at / 3'600'000, 2) + QLatin1Char(':') + padded(at / 60'000 % 60, 2)
        + QLatin1Char(':') + padded(at / 1000 % 60, 2) + mark + padded(at % 1000, 3);
}

QString times(const Cue &cue, QChar mark)
{
    const std::int64_t from = std::max<std::int64_t>(cue.fromMs, 0);
    return stamp(from, mark) + QStringLiteral(" --> ") + stamp(std::max(cue.toMs, from + 1), mark)
        + QLatin1Char('\n');
}

QString linesOf(const QString &text)
{
    QString lines;
    for (const QString &line : text.split(QLatin1Char('\n'))) {
        if (const QString words = line.simplified(); !words.isEmpty()) {
            lines += words + QLatin1Char('\n');
        }
    }
    return lines;
}

QString cell(const QString &text)
{
    return QStringLiteral("<td>") + text.simplified().toHtmlEscaped() + QStringLiteral("</td>");
}

} // namespace

QString srt(const Cue &cue, std::int64_t number)
{
    // The format knows no escapes: an arrow would be taken for times.
    const QString text = linesOf(cue.text).replace(QLatin1String("-->"), QLatin1String("->"));
    return QString::number(number) + QLatin1Char('\n') + times(cue, QLatin1Char(',')) + text
        + QLatin1Char('\n');
}

QString vttHead()
{
    return QStringLiteral("WEBVTT\n\n");
}

QString vtt(const Cue &cue)
{
    QString text = linesOf(cue.text);
    text.replace(QLatin1Char('&'), QLatin1String("&amp;"))
        .replace(QLatin1Char('<'), QLatin1String("&lt;"))
        .replace(QLatin1Char('>'), QLatin1String("&gt;"));
    return times(cue, QLatin1Char('.')) + text + QLatin1Char('\n');
}

QString clock(std::int64_t ms)
{
    const std::int64_t at = std::max<std::int64_t>(ms, 0) / 1000;
    return QString::number(at / 3600) + QLatin1Char(':') + padded(at / 60 % 60, 2)
        + QLatin1Char(':') + padded(at % 60, 2);
}

QString pageHead(const QString &title, const QString &original, const QString &translation)
{
    return QStringLiteral("<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\"><title>%1</title>\n"
                          "<style>body{font:16px/1.5 sans-serif;max-width:64em;margin:2em auto}"
                          "td,th{vertical-align:top;text-align:left;padding:.3em .8em}"
                          "td:first-child{color:#777;white-space:nowrap}</style></head>\n"
                          "<body><h1>%1</h1>\n<table><tr><th></th><th>%2</th><th>%3</th></tr>\n")
        .arg(title.toHtmlEscaped(), original.toHtmlEscaped(), translation.toHtmlEscaped());
}

QString pageRow(std::int64_t ms, const QString &original, const QString &translation)
{
    return QStringLiteral("<tr><td>") + clock(ms) + QStringLiteral("</td>") + cell(original)
        + cell(translation) + QStringLiteral("</tr>\n");
}

} // namespace nimbara::cues

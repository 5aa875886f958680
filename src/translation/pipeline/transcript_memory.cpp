#include "translation/pipeline/transcript_memory.h"

#include <QRegularExpression>

namespace nimbara {

namespace {

constexpr qsizetype maxKeys = 6;
constexpr qsizetype keptLength = 1200;
constexpr qsizetype contextLength = 400;

QString keyOf(const QString &transcript)
{
    static const QRegularExpression others(QStringLiteral("[^\\p{L}\\p{N} ]"),
        QRegularExpression::UseUnicodePropertiesOption);
    return transcript.toLower().remove(others).simplified();
}

/// The last characters of the text; never half a surrogate pair, which JSON cannot carry.
QString tail(const QString &text, qsizetype length)
{
    const QString end = text.right(length);
    return !end.isEmpty() && end.front().isLowSurrogate() ? end.mid(1) : end;
}

} // namespace

bool TranscriptMemory::isRepeated(const QString &transcript)
{
    const QString key = keyOf(transcript);
    if (key.isEmpty()) {
        return false;
    }
    const bool repeated = m_recentKeys.contains(key);
    m_recentKeys.append(key);
    while (m_recentKeys.size() > maxKeys) {
        m_recentKeys.removeFirst();
    }
    return repeated;
}

QString TranscriptMemory::context() const
{
    if (m_originals.isEmpty()) {
        return {};
    }
    const QString original = QLatin1Char(' ') + m_originals.join(QLatin1Char(' '));
    return QStringLiteral("Previous original: ") + tail(original, contextLength)
        + QStringLiteral("\nPrevious translation: ") + tail(m_prevTranslation, contextLength)
        + QLatin1Char('\n');
}

void TranscriptMemory::addOriginal(const QString &text)
{
    m_originals.append(tail(text, keptLength));
    while (m_originals.join(QLatin1Char(' ')).size() - m_originals.first().size() > keptLength) {
        m_originals.removeFirst();
    }
}

void TranscriptMemory::addTranslation(const QString &text)
{
    m_prevTranslation = tail(m_prevTranslation + QLatin1Char(' ') + text, keptLength);
}

void TranscriptMemory::forget(const QString &transcript)
{
    const auto removeLast = [](QStringList &list, const QString &text) {
        if (const qsizetype at = list.lastIndexOf(text); at >= 0) {
            list.removeAt(at);
        }
    };
    removeLast(m_recentKeys, keyOf(transcript));
    removeLast(m_originals, tail(transcript, keptLength));
}

} // namespace nimbara

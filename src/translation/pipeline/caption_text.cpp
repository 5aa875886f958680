#include "translation/pipeline/caption_text.h"

namespace nimbara {

CaptionSeparator captionSeparator(int setting)
{
    switch (setting) {
    case 0:
        return CaptionSeparator::Blank;
    case 2:
        return CaptionSeparator::EmptyLine;
    case 3:
        return CaptionSeparator::Reading;
    default:
        return CaptionSeparator::Line;
    }
}

QString separatorText(CaptionSeparator separator)
{
    switch (separator) {
    case CaptionSeparator::Blank:
        return QStringLiteral(" ");
    case CaptionSeparator::EmptyLine:
        return QStringLiteral("\n\n");
    case CaptionSeparator::Line:
    case CaptionSeparator::Reading:
        break;
    }
    return QStringLiteral("\n");
}

void CaptionText::addCaption(const QString &text, std::int64_t nowMs)
{
    const QString phrase = text.trimmed();
    if (phrase.isEmpty()) {
        return;
    }
    m_captionPhrases.append(phrase);
    if (m_captionPhrases.size() > maxPhrases) {
        m_captionPhrases.removeFirst();
    }
    m_lastCaptionTime = nowMs;
}

bool CaptionText::clearOld(std::int64_t nowMs)
{
    if (m_captionPhrases.isEmpty() || m_lastCaptionTime == 0
        || nowMs - m_lastCaptionTime <= lifetimeMs) {
        return false;
    }
    clear();
    return true;
}

} // namespace nimbara

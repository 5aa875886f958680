#include "translation/pipeline/caption_text.h"

namespace nimbara {

CaptionSeparator captionSeparator(int setting)
{
    switch (setting) {
    case 0:
        return CaptionSeparator::Blank;
    case 2:
        return CaptionSeparator::EmptyLine;
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
        break;
    }
    return QStringLiteral("\n");
}

void CaptionText::addCaption(const QString &text, const CaptionBox &box, std::int64_t nowMs)
{
    const QString phrase = text.trimmed();
    if (phrase.isEmpty()) {
        return;
    }
    const QString separator = separatorText(m_separator);
    m_captionPhrases.append(phrase);
    m_captionText = m_captionPhrases.join(separator);
    while (m_captionPhrases.size() > 1 && !captionFits(m_captionText, box)) {
        m_captionPhrases.removeFirst();
        m_captionText = m_captionPhrases.join(separator);
    }
    m_lastCaptionTime = nowMs;
}

void CaptionText::setSeparator(CaptionSeparator separator)
{
    m_separator = separator;
    m_captionText = m_captionPhrases.join(separatorText(separator));
}

void CaptionText::clear()
{
    m_captionPhrases.clear();
    m_captionText.clear();
}

bool CaptionText::clearOld(std::int64_t nowMs)
{
    if (m_captionText.isEmpty() || m_lastCaptionTime == 0
        || nowMs - m_lastCaptionTime <= lifetimeMs) {
        return false;
    }
    clear();
    return true;
}

} // namespace nimbara

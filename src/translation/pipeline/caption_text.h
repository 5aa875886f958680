#pragma once

#include <QString>
#include <QStringList>

#include <cstdint>

namespace nimbara {

/// How phrases on screen are kept apart; the values of the setting "caption_separator".
enum class CaptionSeparator : std::int32_t {
    Blank = 0, ///< "Frases seguidas"
    Line = 1, ///< "Cada frase en su renglón"
    EmptyLine = 2, ///< "Renglón en blanco entre frases"
    Reading = 3, ///< "Lectura": one block at a time, see `Reading`
};

/// The separator of a stored setting; one that is none of the four is a line.
CaptionSeparator captionSeparator(int setting);

/// What is put between two phrases: one blank, one line break or two. Of blocks there is only one.
QString separatorText(CaptionSeparator separator);

/// The phrases that may be on screen: what of them a box has room for is known where it is drawn.
/// Times are milliseconds since the epoch. Interface thread.
class CaptionText {
public:
    /// Captions leave the screen when none was added for longer than this.
    static constexpr std::int64_t lifetimeMs = 40000;

    /// More than any box shows legibly; older phrases leave.
    static constexpr qsizetype maxPhrases = 200;

    /// Adds a phrase; a blank one does nothing.
    void addCaption(const QString &text, std::int64_t nowMs);

    void setSeparator(CaptionSeparator separator) { m_separator = separator; }

    void clear() { m_captionPhrases.clear(); }

    /// Clears captions that are too old; called for every frame. Returns whether it did.
    bool clearOld(std::int64_t nowMs);

    [[nodiscard]] const QStringList &captionPhrases() const { return m_captionPhrases; }
    [[nodiscard]] CaptionSeparator separator() const { return m_separator; }

private:
    QStringList m_captionPhrases; ///< oldest first
    CaptionSeparator m_separator = CaptionSeparator::Line;
    std::int64_t m_lastCaptionTime = 0; ///< 0 before the first phrase
};

} // namespace nimbara

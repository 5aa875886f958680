#pragma once

#include <QString>
#include <QStringList>

namespace nimbara {

/// What was said and translated lately: tells repetitions, and gives the translation of the next
/// phrase its context. Pure.
class TranscriptMemory {
public:
    /// Remembers the transcript; returns whether one of the last six had the same words, whatever
    /// their case and punctuation. A transcript without a letter or digit is never a repetition.
    bool isRepeated(const QString &transcript);

    /// Context of the next phrase for the model; empty before the first.
    [[nodiscard]] QString context() const;

    void addOriginal(const QString &text);
    void addTranslation(const QString &text);

    /// A transcript that got no translation: said again, it is no repetition.
    void forget(const QString &transcript);

    void clear() { *this = {}; }

private:
    QStringList m_originals; ///< oldest first
    QString m_prevTranslation;
    QStringList m_recentKeys; ///< oldest first
};

} // namespace nimbara

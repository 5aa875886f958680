#pragma once

#include "base/term.h"

#include <QSet>
#include <QString>

#include <utility>
#include <vector>

namespace nimbara {

/// The terms of a congregation between the two languages of a run: what the services are told of
/// them, and what is corrected when they come back otherwise. A term that was given for the other
/// direction is taken the other way round. Pure.
class Glossary {
public:
    /// Letters of the terms that a transcription is told: the services read no longer prompts.
    static constexpr qsizetype maxPrompt = 600;
    /// Terms that one translation is told.
    static constexpr qsizetype maxTold = 40;

    Glossary() = default;
    /// `source`: code of the spoken language ("es", "en" or empty); `target`: name of the other.
    Glossary(const Terms &terms, const QString &source, const QString &target);

    /// Adds what else may be said in a run into another language, too: for its transcripts.
    void add(const Glossary &other);

    /// The terms for the prompt of a transcription, as many as fit; empty without any.
    [[nodiscard]] QString prompt() const;

    /// What is told beside a text that is to be translated: the terms in it, one a line; empty
    /// without any.
    [[nodiscard]] QString toldFor(const QString &text) const;

    /// A transcript with its terms as they are written: words that were run together or taken
    /// apart, accents, and a letter or two of a long name. The case stays.
    [[nodiscard]] QString mended(const QString &transcript) const;

    /// A translation with the terms of its original: what was left untranslated or is written
    /// otherwise gives way to the term. Whole words alone; what may be anything else stays.
    [[nodiscard]] QString held(const QString &original, const QString &translation) const;

private:
    struct Pair {
        QString from;
        QString to;
        QString letters; ///< of `from`: without them in a row a text does not have it
    };
    void sort();
    [[nodiscard]] QString withTerm(const QString &text, const Pair &pair) const;

    std::vector<Pair> m_pairs; ///< the longest first
    QSet<QString> m_known; ///< the letters of all terms
};

} // namespace nimbara

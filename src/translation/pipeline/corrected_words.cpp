#include "translation/pipeline/corrected_words.h"

#include "translation/pipeline/term_words.h"

#include <algorithm>

namespace nimbara {

QString correctedWords(const QString &before, const QString &after)
{
    const QList<term_words::Word> old = term_words::wordsOf(before);
    const QList<term_words::Word> now = term_words::wordsOf(after);
    const qsizetype both = std::min(old.size(), now.size());
    const auto isSame = [&](qsizetype a, qsizetype b) {
        // As they are written: a capital may be what was corrected.
        return before.mid(old.at(a).from, old.at(a).to - old.at(a).from)
            == after.mid(now.at(b).from, now.at(b).to - now.at(b).from);
    };
    qsizetype first = 0;
    while (first < both && isSame(first, first)) {
        ++first;
    }
    qsizetype behind = 0;
    while (behind < both - first && isSame(old.size() - 1 - behind, now.size() - 1 - behind)) {
        ++behind;
    }
    const qsizetype last = now.size() - 1 - behind;
    return last < first ? QString()
                        : after.mid(now.at(first).from, now.at(last).to - now.at(first).from);
}

} // namespace nimbara

#include "bible/word_alignment.h"

#include <algorithm>
#include <cstddef>

namespace bible {

namespace {

class Alignment {
public:
    Alignment(const QStringList &one, const QStringList &other)
        : m_one(one)
        , m_other(other)
        , m_width(static_cast<std::size_t>(other.size()) + 1)
        , m_worth(m_width * (static_cast<std::size_t>(one.size()) + 1))
    {
        fill();
    }

    [[nodiscard]] std::vector<SameWord> same() const
    {
        std::vector<SameWord> words;
        qsizetype i = m_bestOne;
        qsizetype j = m_bestOther;
        while (i > 0 && j > 0 && at(i, j) > 0) {
            const bool isSame = m_one.at(i - 1) == m_other.at(j - 1);
            if (at(i, j) == at(i - 1, j - 1) + (isSame ? 1 : -1)) {
                if (isSame) {
                    words.push_back({ i - 1, j - 1 });
                }
                --i;
                --j;
            } else if (at(i, j) == at(i - 1, j) - 1) {
                --i;
            } else {
                --j;
            }
        }
        std::reverse(words.begin(), words.end());
        return words;
    }

private:
    [[nodiscard]] int at(qsizetype i, qsizetype j) const
    {
        return m_worth[static_cast<std::size_t>(i) * m_width + static_cast<std::size_t>(j)];
    }
    void fill()
    {
        int best = 0;
        for (qsizetype i = 1; i <= m_one.size(); ++i) {
            for (qsizetype j = 1; j <= m_other.size(); ++j) {
                const int beside
                    = at(i - 1, j - 1) + (m_one.at(i - 1) == m_other.at(j - 1) ? 1 : -1);
                const int worth = std::max({ 0, beside, at(i - 1, j) - 1, at(i, j - 1) - 1 });
                m_worth[static_cast<std::size_t>(i) * m_width + static_cast<std::size_t>(j)]
                    = worth;
                if (worth > best) {
                    best = worth;
                    m_bestOne = i;
                    m_bestOther = j;
                }
            }
        }
    }

    const QStringList &m_one;
    const QStringList &m_other;
    std::size_t m_width;
    std::vector<int> m_worth;
    qsizetype m_bestOne = 0;
    qsizetype m_bestOther = 0;
};

} // namespace

std::vector<SameWord> sameWords(const QStringList &one, const QStringList &other)
{
    return Alignment(one, other).same();
}

} // namespace bible

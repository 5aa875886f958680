#include "bible/longest_verse.h"

namespace bible {

Ref longestVerse(const Bible &bible)
{
    Ref longest;
    qsizetype most = 0;
    for (qsizetype book = 0; book < bible.books.size(); ++book) {
        const QJsonArray chapters = bible.books.at(book).toArray();
        for (qsizetype chapter = 0; chapter < chapters.size(); ++chapter) {
            const QJsonArray verses = chapters.at(chapter).toArray();
            for (qsizetype verse = 0; verse < verses.size(); ++verse) {
                if (const qsizetype size = verses.at(verse).toString().size(); size > most) {
                    most = size;
                    const auto number = static_cast<std::int32_t>(verse) + 1;
                    longest = { static_cast<std::int32_t>(book),
                        static_cast<std::int32_t>(chapter) + 1,
                        number,
                        number };
                }
            }
        }
    }
    return longest;
}

} // namespace bible

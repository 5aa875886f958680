#include "bible/reader.h"

#include "bible/book_names.h"
#include "bible/named_bible.h"
#include "bible/reference_tokens.h"

namespace bible {

Reading read(const QString &typed)
{
    Reading reading;
    const WithoutBible parts = takeBible(plainReference(typed));
    const auto pieces = tokens(plainReference(parts.reference));
    if (!pieces) {
        return reading;
    }
    const BookRead book = readBook(*pieces);
    bool doubtful = book.books.size() > 1;
    for (const std::int32_t each : book.books) {
        const ListRead list = readList(*pieces, book.end, each);
        reading.passages << list.passages;
        doubtful = doubtful || list.doubtful;
        if (list.limit.book >= 0) {
            reading.status = Reading::Status::Absent;
            // Of several books none can be told from.
            reading.limit = book.books.size() == 1 ? list.limit : Limit {};
        }
    }
    reading.bible = parts.bible;
    if (!reading.passages.isEmpty()) {
        reading.status = doubtful ? Reading::Status::Doubtful : Reading::Status::Found;
    }
    return reading;
}

} // namespace bible

#include "bible/shelf.h"

#include "bible/named_bible.h"

#include <algorithm>
#include <mutex>
#include <utility>

namespace bible {

namespace {

struct Shelf {
    std::mutex mutex;
    QList<BiblePtr> bibles;
};

/// Stays until the process is gone: a background task may still ask.
Shelf &shelf()
{
    static auto *const all = new Shelf;
    return *all;
}

template <typename Matches> BiblePtr find(Matches matches)
{
    const QList<BiblePtr> all = allBibles();
    const auto found = std::find_if(all.begin(), all.end(), [&matches](const BiblePtr &each) {
        return matches(*each);
    });
    return found == all.end() ? nullptr : *found;
}

} // namespace

QList<BiblePtr> importedBibles()
{
    const std::lock_guard lock(shelf().mutex);
    return shelf().bibles;
}

void setImportedBibles(QList<BiblePtr> bibles)
{
    std::sort(bibles.begin(), bibles.end(), [](const BiblePtr &a, const BiblePtr &b) {
        return a->name.localeAwareCompare(b->name) < 0;
    });
    const std::lock_guard lock(shelf().mutex);
    shelf().bibles = std::move(bibles);
}

QList<BiblePtr> allBibles()
{
    QList<BiblePtr> all;
    for (const Bible *each : { &spanish(), &english() }) {
        if (each->valid) { // lives as long as the process
            all.append(BiblePtr(std::shared_ptr<void>(), each));
        }
    }
    return all + importedBibles();
}

BiblePtr bibleWithId(const QString &id)
{
    return id.isEmpty() ? nullptr : find([&id](const Bible &bible) { return bible.id == id; });
}

BiblePtr bibleWithName(const QString &name)
{
    return name.isEmpty() ? nullptr
                          : find([&name](const Bible &bible) { return bible.name == name; });
}

BiblePtr importedNamed(const QString &named)
{
    const QList<BiblePtr> all = importedBibles();
    for (const BiblePtr &each : all) {
        if (each->id.compare(named, Qt::CaseInsensitive) == 0) {
            return each;
        }
    }
    for (const bool byName : { true, false }) {
        for (const BiblePtr &each : all) {
            if (isListedAs(named, byName ? each->name : each->id)) {
                return each;
            }
        }
    }
    return nullptr;
}

} // namespace bible

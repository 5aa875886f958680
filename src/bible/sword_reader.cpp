#include "bible/sword_reader.h"

#include "bible/canon.h"
#include "bible/sword_markup.h"

#include <QFile>
#include <QtEndian>

#include <limits>

namespace bible {

namespace {

using nimbara::Message;

constexpr std::int32_t firstOfNew = 39;
constexpr std::int32_t bookCount = 66;
constexpr qsizetype mostBytes
    = qsizetype { 64 } * 1024 * 1024; ///< of a file, and of a block of verses

[[noreturn]] void fail(const SwordModule &module, const Message &reason)
{
    throw nimbara::Error(Message::verbatim(module.name + QStringLiteral(": ")) + reason);
}

/// Numbers in the byte order of the modules.
std::uint32_t number(const QByteArray &bytes, qsizetype at)
{
    return qFromLittleEndian<std::uint32_t>(bytes.constData() + at);
}
std::uint32_t shortNumber(const QByteArray &bytes, qsizetype at)
{
    return qFromLittleEndian<std::uint16_t>(bytes.constData() + at);
}

/// Where an entry stands.
struct Place {
    std::uint32_t block = 0; ///< of a compressed module
    std::uint32_t begin = 0;
    std::uint32_t size = 0;
    bool operator==(const Place &) const = default;
};

/// The entries of one testament: an index with one record for each, and the text.
class Testament {
public:
    /// `name`: "ot" or "nt".
    Testament(const SwordModule &module, const QString &name)
        : m_module(module)
        , m_isCompressed(module.driver.startsWith(QLatin1Char('z'), Qt::CaseInsensitive))
        , m_isLong(module.driver.endsWith(QLatin1Char('4')))
    {
        const QString base = module.path + name;
        if (!m_isCompressed) {
            m_index = read(base + QStringLiteral(".vss"));
            m_text = read(base);
            return;
        }
        for (const char *unit : { "b", "c", "v" }) { // a book, a chapter, a verse in a block
            const QString files = base + QLatin1Char('.') + QLatin1String(unit) + QLatin1Char('z');
            if (QFile::exists(files + QLatin1Char('v'))) {
                m_index = read(files + QLatin1Char('v'));
                m_blocks = read(files + QLatin1Char('s'));
                m_text = read(files + QLatin1Char('z'));
                return;
            }
        }
    }

    [[nodiscard]] bool isEmpty() const { return m_index.isEmpty(); }

    [[nodiscard]] Place place(qsizetype entry) const
    {
        const qsizetype head = m_isCompressed ? 8 : 4;
        const qsizetype record = head + (m_isLong ? 4 : 2);
        const qsizetype at = entry * record;
        if (at + record > m_index.size()) {
            damaged();
        }
        const std::uint32_t size
            = m_isLong ? number(m_index, at + head) : shortNumber(m_index, at + head);
        return m_isCompressed ? Place { number(m_index, at), number(m_index, at + 4), size }
                              : Place { 0, number(m_index, at), size };
    }

    QByteArray text(const Place &place)
    {
        const QByteArray &all = m_isCompressed ? block(place.block) : m_text;
        if (place.begin > all.size() || place.size > all.size() - place.begin) {
            damaged();
        }
        return all.mid(place.begin, place.size);
    }

private:
    [[noreturn]] void damaged() const { fail(m_module, "el módulo está dañado"); }

    [[nodiscard]] QByteArray read(const QString &path) const
    {
        QFile file(path);
        if (!file.exists()) {
            return {};
        }
        if (!file.open(QIODevice::ReadOnly) || file.size() > mostBytes) {
            damaged();
        }
        return file.readAll();
    }

    const QByteArray &block(std::uint32_t wanted)
    {
        if (wanted == m_known) {
            return m_block;
        }
        constexpr qsizetype record = 12;
        const qsizetype at = record * qsizetype { wanted };
        if (at + record > m_blocks.size()) {
            damaged();
        }
        const qsizetype begin = number(m_blocks, at);
        const qsizetype size = number(m_blocks, at + 4);
        const std::uint32_t whole = number(m_blocks, at + 8);
        // A block holds a book at most. How far it unpacks is bounded by what is packed.
        constexpr std::uint32_t mostOfBlock = 16'000'000;
        constexpr std::uint32_t slack = 1024;
        if (begin + size > m_text.size() || whole > mostOfBlock || size > whole + slack) {
            damaged();
        }
        QByteArray packed(4, '\0');
        qToBigEndian(whole, packed.data());
        m_block = qUncompress(packed + m_text.mid(begin, size));
        if (m_block.size() != static_cast<qsizetype>(whole)) {
            damaged();
        }
        m_known = wanted;
        return m_block;
    }

    const SwordModule &m_module;
    bool m_isCompressed;
    bool m_isLong; ///< sizes have 32 bits
    QByteArray m_index;
    QByteArray m_blocks;
    QByteArray m_text;
    std::uint32_t m_known = std::numeric_limits<std::uint32_t>::max();
    QByteArray m_block; ///< the one that is known
};

/// The module has two headings, and so has each book and each chapter one before its verses.
void readTestament(RawBible &raw, const SwordModule &module, std::int32_t first, std::int32_t end)
{
    Testament testament(module, first == 0 ? QStringLiteral("ot") : QStringLiteral("nt"));
    if (testament.isEmpty()) {
        return;
    }
    qsizetype entry = 2;
    for (std::int32_t book = first; book < end; ++book) {
        ++entry;
        for (std::int32_t chapter = 1; chapter <= canonChapters(book); ++chapter) {
            ++entry;
            Place before;
            for (std::int32_t verse = 1; verse <= canonVerses(book, chapter); ++verse, ++entry) {
                const Place place = testament.place(entry);
                // Verses that are one text share its place: it is the first one's.
                if (place.size > 0 && place != before) {
                    raw.add(book,
                        chapter,
                        verse,
                        swordText(testament.text(place), module.encoding));
                }
                before = place;
            }
        }
    }
}

} // namespace

RawBible readSword(const SwordModule &module)
{
    const bool isCompressed = module.driver.startsWith(QLatin1Char('z'), Qt::CaseInsensitive);
    if (module.isLocked) {
        fail(module, "el módulo está cifrado");
    }
    if (isCompressed && module.compression != QLatin1String("ZIP")) {
        fail(module, { "no se lee su compresión, %1", { Message::verbatim(module.compression) } });
    }
    if (module.versification != QLatin1String("KJV")
        && module.versification != QLatin1String("KJVA")) {
        fail(module,
            { "no se lee su numeración, %1", { Message::verbatim(module.versification) } });
    }
    RawBible raw;
    raw.code = module.id;
    raw.name = module.name;
    raw.lang = module.lang;
    raw.license = module.license;
    readTestament(raw, module, 0, firstOfNew);
    readTestament(raw, module, firstOfNew, bookCount);
    if (raw.books.empty()) {
        fail(module, "el módulo está dañado");
    }
    return raw;
}

QString swordText(const QByteArray &entry, const QString &encoding)
{
    const bool isUtf8 = encoding.compare(QLatin1String("UTF-8"), Qt::CaseInsensitive) == 0;
    return withoutMarkup(isUtf8 ? QString::fromUtf8(entry) : QString::fromLatin1(entry));
}

} // namespace bible

#include "bible/usfm_reader.h"

#include "bible/books.h"
#include "bible/usfm_markers.h"

#include <QRegularExpression>

#include <algorithm>
#include <utility>

namespace bible {

namespace {

using nimbara::Message;

constexpr std::int32_t noBook = -1; ///< none has begun
constexpr std::int32_t otherBook = -2; ///< one outside the canon
constexpr std::int32_t none = -1; ///< of chapters and verses, which begin at 0

class UsfmReader {
public:
    UsfmReader(RawBible &raw, QString text, QString file)
        : m_raw(raw)
        , m_source(std::move(text))
        , m_file(std::move(file))
    {
    }

    void read()
    {
        while (m_at < m_source.size()) {
            const qsizetype next = m_source.indexOf(QLatin1Char('\\'), m_at);
            const qsizetype end = next < 0 ? m_source.size() : next;
            take(QStringView(m_source).mid(m_at, end - m_at));
            m_at = end;
            if (next >= 0) {
                readMarker();
            }
        }
        if (!m_note.isEmpty()) {
            failOpen();
        }
        flush();
    }

private:
    [[noreturn]] void fail(const Message &reason) const
    {
        throw ImportError(m_file, lineNumber(), reason);
    }
    [[noreturn]] void failOpen() const
    {
        fail(Message("una nota no termina: %1", { Message::verbatim(QLatin1Char('\\') + m_note) }));
    }

    void readMarker()
    {
        static const QRegularExpression form(
            QStringLiteral("\\\\(?:\\+?([A-Za-z]+\\d*(?:-[se])?)(\\*?)|\\*)"));
        const auto match = form.match(m_source,
            m_at,
            QRegularExpression::NormalMatch,
            QRegularExpression::AnchorAtOffsetMatchOption);
        if (!match.hasMatch()) {
            fail("una barra “\\” sin marca");
        }
        const qsizetype end = match.capturedEnd();
        const QString name = match.captured(1);
        const bool isEnd = name.isEmpty() || match.capturedLength(2) > 0;
        m_isAttribute = false;
        if (!m_note.isEmpty()) {
            if (name == QLatin1String("v") || name == QLatin1String("c")
                || name == QLatin1String("id")) {
                failOpen();
            }
            m_note = isEnd && name == m_note ? QString() : m_note;
            m_at = end;
            return;
        }
        m_at = end;
        if (!isEnd) {
            m_at += m_at < m_source.size() && m_source.at(m_at).isSpace() ? 1 : 0;
            begin(name);
        }
    }

    void begin(const QString &name)
    {
        if (name == QLatin1String("id")) {
            beginBook();
        } else if (name == QLatin1String("c")) {
            flush();
            m_isHeading = true; // up to the paragraph of the first verse
            m_chapter = requireNumber(word(), m_file, lineNumber());
        } else if (name == QLatin1String("v")) {
            beginVerse();
        } else if (usfm::isNote(name)) {
            m_note = name;
        } else if (name.endsWith(QLatin1String("-s")) || name.endsWith(QLatin1String("-e"))) {
            m_isAttribute = true;
        } else if (usfm::isHeading(name)) {
            m_isHeading = true;
            takeRemark(name);
        } else if (!usfm::isStyle(name)) {
            m_isHeading = false;
            m_text += QLatin1Char(' ');
        }
    }

    /// Counted on from where it was asked for last.
    [[nodiscard]] std::int64_t lineNumber() const
    {
        const auto lines = [this](qsizetype from, qsizetype to) {
            return QStringView(m_source).sliced(from, to - from).count(QLatin1Char('\n'));
        };
        m_line += m_at >= m_countedTo ? lines(m_countedTo, m_at) : -lines(m_at, m_countedTo);
        m_countedTo = m_at;
        return m_line;
    }

    /// The rest of the line, which stays to be read.
    [[nodiscard]] QString line() const
    {
        const qsizetype end = m_source.indexOf(QLatin1Char('\n'), m_at);
        return m_source.mid(m_at, end < 0 ? -1 : end - m_at).trimmed();
    }

    /// The next word of the line, which is read then.
    QString word()
    {
        const auto isBlank = [](QChar sign) { return sign.isSpace(); };
        const auto isGap = [](QChar sign) { return sign.isSpace() && sign != QLatin1Char('\n'); };
        const auto first = std::find_if_not(m_source.cbegin() + m_at, m_source.cend(), isGap);
        const auto last = std::find_if(first, m_source.cend(), isBlank);
        m_at = first == last ? m_at : last - m_source.cbegin();
        return QString(first, last - first);
    }

    void beginBook()
    {
        flush();
        m_isHeading = true;
        m_chapter = none;
        const QString code = line().left(3).toUpper();
        static const QRegularExpression form(QStringLiteral("^[A-Z0-9]{3}$"));
        if (!form.match(code).hasMatch()) {
            fail("falta el código del libro detrás de \\id");
        }
        const auto *found = std::find_if(books.begin(), books.end(), [&code](const Book &book) {
            return code
                == QLatin1String(book.code.data(), static_cast<qsizetype>(book.code.size()));
        });
        m_book
            = found == books.end() ? otherBook : static_cast<std::int32_t>(found - books.begin());
        if (m_raw.books.count(m_book) > 0) {
            fail(Message("el libro %1 está dos veces", { Message::verbatim(code) }));
        }
        static const QRegularExpression lead(QStringLiteral("^[\\s:–—-]+"));
        const QString name = line().mid(3).remove(lead);
        m_raw.name = m_raw.name.isEmpty() ? name : m_raw.name;
    }

    void beginVerse()
    {
        flush();
        if (m_book == noBook || m_chapter == none) {
            fail(m_book == noBook ? Message("un versículo sin libro (\\id)")
                                  : Message("un versículo sin capítulo"));
        }
        static const QRegularExpression form(
            QStringLiteral("^(?:0[-–,])?(\\d+)[a-z]?(?:[-–,]\\d+[a-z]?)?$"));
        const qsizetype before = m_at;
        const QString numbers = word();
        const auto match = form.match(numbers);
        if (!match.hasMatch()) {
            m_at = before;
        }
        m_verse
            = requireNumber(match.hasMatch() ? match.captured(1) : numbers, m_file, lineNumber());
        m_isHeading = false;
    }

    /// What is said of the rights stands in remarks.
    void takeRemark(const QString &name)
    {
        if (name == QLatin1String("rem") && usfm::tellsOfRights(line())
            && !m_raw.license.contains(line())) {
            m_raw.license += (m_raw.license.isEmpty() ? QString() : QStringLiteral(" ")) + line();
        }
    }

    void take(QStringView text)
    {
        if (m_isHeading || m_isAttribute || !m_note.isEmpty() || m_verse == none) {
            return;
        }
        const qsizetype bar = text.indexOf(QLatin1Char('|')); // word|its attributes
        m_isAttribute = bar >= 0;
        QString plain = text.left(bar < 0 ? text.size() : bar).toString();
        m_text += plain.replace(QLatin1Char('~'), QLatin1Char(' '))
                      .replace(QStringLiteral("//"), QStringLiteral(" "));
    }

    void flush()
    {
        if (m_verse != none && m_book >= 0) {
            m_raw.add(m_book, m_chapter, m_verse, m_text);
        }
        m_text.clear();
        m_verse = none;
    }

    RawBible &m_raw;
    QString m_source;
    QString m_file;
    qsizetype m_at = 0;
    mutable qsizetype m_countedTo = 0;
    mutable std::int64_t m_line = 1; ///< there
    QString m_text; ///< of the verse
    QString m_note; ///< the one that is open
    bool m_isAttribute = false;
    bool m_isHeading = true;
    std::int32_t m_book = noBook;
    std::int32_t m_chapter = none;
    std::int32_t m_verse = none; ///< that is open
};

} // namespace

void readUsfm(RawBible &raw, const QString &text, const QString &file)
{
    UsfmReader(raw, text, file).read();
}

} // namespace bible

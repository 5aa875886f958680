#include "bible/osis_reader.h"

#include "bible/osis_books.h"

#include <QStringList>
#include <QXmlStreamReader>

#include <algorithm>
#include <initializer_list>
#include <utility>

namespace bible {

namespace {

using nimbara::Message;

bool isOneOf(QStringView name, std::initializer_list<const char *> names)
{
    return std::any_of(names.begin(), names.end(), [name](const char *each) {
        return name == QLatin1String(each);
    });
}

class OsisReader {
public:
    OsisReader(const QByteArray &data, QString file)
        : m_xml(data)
        , m_file(std::move(file))
    {
    }

    RawBible read()
    {
        while (!m_xml.atEnd()) {
            switch (m_xml.readNext()) {
            case QXmlStreamReader::StartElement:
                begin();
                break;
            case QXmlStreamReader::EndElement:
                end();
                break;
            case QXmlStreamReader::Characters:
                if (m_skipped == 0 && m_isOpen) {
                    m_text += m_xml.text();
                }
                break;
            default:
                break;
            }
        }
        if (m_xml.hasError()) {
            fail(Message("XML dañado: ") + Message::verbatim(m_xml.errorString()));
        }
        close();
        return std::move(m_raw);
    }

private:
    [[noreturn]] void fail(const Message &reason) const
    {
        throw ImportError(m_file, m_xml.lineNumber(), reason);
    }

    void begin()
    {
        const QStringView name = m_xml.name();
        if (m_isHeader) {
            readHeader(name);
        } else if (m_skipped > 0 || isOneOf(name, { "note", "title", "rdg", "figure", "head" })) {
            ++m_skipped;
        } else if (name == QLatin1String("osisText")) {
            m_raw.code = m_xml.attributes().value(QLatin1String("osisIDWork")).toString();
            m_raw.lang = m_xml.attributes().value(QLatin1String("xml:lang")).toString();
        } else if (name == QLatin1String("header")) {
            m_isHeader = true;
        } else if (name == QLatin1String("verse")) {
            beginVerse();
        } else if (name == QLatin1String("q")) {
            const auto marks = m_xml.attributes();
            const bool stands = marks.hasAttribute(QLatin1String("sID"))
                || marks.hasAttribute(QLatin1String("eID"));
            m_text += stands ? marks.value(QLatin1String("marker")).toString() : QString();
        } else {
            addBlank(name);
        }
    }

    void end()
    {
        const QStringView name = m_xml.name();
        if (m_skipped > 0) {
            --m_skipped;
        } else if (name == QLatin1String("header")) {
            m_isHeader = false;
        } else if (name == QLatin1String("verse") && m_isElement) {
            close();
        } else {
            addBlank(name);
        }
    }

    void addBlank(QStringView name)
    {
        if (isOneOf(name, { "l", "lb", "lg", "p", "div", "milestone", "item", "row", "cell" })) {
            m_text += QLatin1Char(' ');
        }
    }

    /// Of the first work, which is the Bible itself.
    void readHeader(QStringView name)
    {
        QString *field = name == QLatin1String("title") ? &m_raw.name
            : name == QLatin1String("rights")           ? &m_raw.license
            : name == QLatin1String("language")         ? &m_raw.lang
                                                        : nullptr;
        if (field != nullptr && field->isEmpty()) {
            *field = m_xml.readElementText(QXmlStreamReader::SkipChildElements).simplified();
        }
    }

    void beginVerse()
    {
        const auto marks = m_xml.attributes();
        close();
        m_isElement = !marks.hasAttribute(QLatin1String("sID"))
            && !marks.hasAttribute(QLatin1String("eID"));
        if (!marks.hasAttribute(QLatin1String("eID"))) {
            const QString id = marks.value(QLatin1String("osisID")).toString();
            open(id.isEmpty() ? marks.value(QLatin1String("sID")).toString() : id);
        }
    }

    /// "KJV:Gen.1.1!a Gen.1.2": the text of several verses is the first one's, but no title's.
    void open(const QString &ids)
    {
        m_verse = 0;
        for (const QString &id : ids.simplified().split(QLatin1Char(' '))) {
            if (m_verse == 0) {
                readId(id);
            }
        }
        m_isOpen = true;
    }

    void readId(const QString &id)
    {
        const QStringList parts = id.section(QLatin1Char(':'), -1)
                                      .section(QLatin1Char('!'), 0, 0)
                                      .split(QLatin1Char('.'));
        if (parts.size() < 3) {
            fail(Message("versículo mal nombrado: “%1”", { Message::verbatim(id.left(40)) }));
        }
        m_book = osisBook(parts.at(0));
        m_chapter = requireNumber(parts.at(1), m_file, m_xml.lineNumber());
        m_verse = requireNumber(parts.at(2), m_file, m_xml.lineNumber());
    }

    void close()
    {
        if (m_isOpen && m_book >= 0) {
            m_raw.add(m_book, m_chapter, m_verse, m_text);
        }
        m_isOpen = false;
        m_text.clear();
    }

    QXmlStreamReader m_xml;
    QString m_file;
    RawBible m_raw;
    QString m_text; ///< of the verse that is open
    bool m_isOpen = false;
    bool m_isElement = false; ///< it ends with its element
    bool m_isHeader = false;
    int m_skipped = 0; ///< elements around that are left out
    std::int32_t m_book = -1;
    std::int32_t m_chapter = 0;
    std::int32_t m_verse = 0;
};

} // namespace

RawBible readOsis(const QByteArray &data, const QString &file)
{
    return OsisReader(data, file).read();
}

} // namespace bible

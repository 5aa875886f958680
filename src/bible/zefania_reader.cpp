#include "bible/zefania_reader.h"

#include "bible/books.h"

#include <QXmlStreamReader>

#include <algorithm>
#include <initializer_list>
#include <utility>

namespace bible {

namespace {

using nimbara::Message;

constexpr std::int32_t none = -1; ///< of chapters and verses, which begin at 0

/// Names are written in capitals, by some programs not.
bool isOneOf(QStringView name, std::initializer_list<const char *> names)
{
    return std::any_of(names.begin(), names.end(), [name](const char *each) {
        return name.compare(QLatin1String(each), Qt::CaseInsensitive) == 0;
    });
}

class ZefaniaReader {
public:
    ZefaniaReader(const QByteArray &data, QString file)
        : m_xml(data)
        , m_file(std::move(file))
    {
    }

    RawBible read()
    {
        while (!m_xml.atEnd()) {
            const auto token = m_xml.readNext();
            if (token == QXmlStreamReader::StartElement) {
                begin(m_xml.name());
            } else if (token == QXmlStreamReader::EndElement) {
                end(m_xml.name());
            } else if (token == QXmlStreamReader::Characters && m_verse != none && m_skipped == 0) {
                m_text += m_xml.text();
            }
        }
        if (m_xml.hasError()) {
            throw ImportError(m_file,
                m_xml.lineNumber(),
                Message("XML dañado: ") + Message::verbatim(m_xml.errorString()));
        }
        return std::move(m_raw);
    }

private:
    [[nodiscard]] std::int32_t number(const char *attribute, std::int32_t least = 0) const
    {
        return requireNumber(m_xml.attributes().value(QLatin1String(attribute)).toString(),
            m_file,
            m_xml.lineNumber(),
            least);
    }

    void begin(QStringView name)
    {
        if (m_skipped > 0
            || isOneOf(name, { "NOTE", "CAPTION", "REMARK", "XREF", "PROLOG", "MEDIA" })) {
            ++m_skipped;
        } else if (isOneOf(name, { "XMLBIBLE" })) {
            m_raw.name = m_xml.attributes().value(QLatin1String("biblename")).toString();
        } else if (isOneOf(name, { "INFORMATION" })) {
            m_isInformation = true;
        } else if (m_isInformation) {
            readInformation(name);
        } else if (isOneOf(name, { "BIBLEBOOK" })) {
            m_book = number("bnumber", 1) - 1;
            m_chapter = none;
        } else if (isOneOf(name, { "CHAPTER" })) {
            m_chapter = number("cnumber");
        } else if (isOneOf(name, { "VERS" })) {
            m_verse = number("vnumber");
            m_text.clear();
            if (m_chapter == none) {
                throw ImportError(m_file, m_xml.lineNumber(), "un versículo sin capítulo");
            }
        } else if (isOneOf(name, { "BR" })) {
            m_text += QLatin1Char(' ');
        }
    }

    void end(QStringView name)
    {
        if (m_skipped > 0) {
            --m_skipped;
        } else if (isOneOf(name, { "INFORMATION" })) {
            m_isInformation = false;
        } else if (isOneOf(name, { "VERS" })) {
            if (static_cast<std::size_t>(m_book) < books.size()) {
                m_raw.add(m_book, m_chapter, m_verse, m_text);
            }
            m_verse = none;
        }
    }

    void readInformation(QStringView name)
    {
        QString *field = isOneOf(name, { "title" }) ? &m_raw.name
            : isOneOf(name, { "identifier" })       ? &m_raw.code
            : isOneOf(name, { "language" })         ? &m_raw.lang
            : isOneOf(name, { "rights" })           ? &m_raw.license
                                                    : nullptr;
        if (field == nullptr) {
            return;
        }
        const QString text
            = m_xml.readElementText(QXmlStreamReader::SkipChildElements).simplified();
        *field = field->isEmpty() ? text : *field;
    }

    QXmlStreamReader m_xml;
    QString m_file;
    RawBible m_raw;
    QString m_text;
    bool m_isInformation = false;
    int m_skipped = 0; ///< elements around that are left out
    std::int32_t m_book = -1;
    std::int32_t m_chapter = none;
    std::int32_t m_verse = none; ///< that is open
};

} // namespace

RawBible readZefania(const QByteArray &data, const QString &file)
{
    return ZefaniaReader(data, file).read();
}

} // namespace bible

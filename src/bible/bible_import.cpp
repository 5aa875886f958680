#include "bible/bible_import.h"

#include "bible/books.h"
#include "bible/canon.h"
#include "bible/numbering.h"
#include "bible/osis_reader.h"
#include "bible/usfm_reader.h"
#include "bible/zefania_reader.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QStringDecoder>
#include <QXmlStreamReader>

#include <algorithm>
#include <array>

namespace bible {

namespace {

using nimbara::Message;

constexpr qsizetype mostBytes = qsizetype { 128 } * 1024 * 1024;
constexpr qsizetype longestName = 60;
constexpr qsizetype longestLicense = 2000;
constexpr qsizetype longestId = 24;

QByteArray readFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || file.size() > mostBytes) {
        throw nimbara::Error(
            Message("No se pudo leer %1", { Message::verbatim(QFileInfo(path).fileName()) }));
    }
    return file.readAll();
}

RawBible readXml(const QByteArray &data, const QString &name)
{
    QXmlStreamReader xml(data);
    xml.readNextStartElement();
    if (xml.name() == QLatin1String("osis")) {
        return readOsis(data, name);
    }
    if (xml.name().compare(QLatin1String("XMLBIBLE"), Qt::CaseInsensitive) == 0) {
        return readZefania(data, name);
    }
    throw ImportError(name, xml.lineNumber(), "no es OSIS ni Zefania");
}

QStringDecoder decoderOf(const QByteArray &data)
{
    return QStringDecoder(QStringConverter::encodingForData(data).value_or(QStringConverter::Utf8));
}

/// The first sign of a text that is no blank.
QChar firstSign(const QByteArray &data)
{
    const QString begin = decoderOf(data)(data.left(200));
    const QString text = begin.trimmed();
    return text.isEmpty() ? QChar() : text.front();
}

QString decoded(const QByteArray &data, const QString &name)
{
    QStringDecoder decoder = decoderOf(data);
    QString text = decoder(data);
    if (decoder.hasError()) {
        const qsizetype bad = text.indexOf(QChar(QChar::ReplacementCharacter));
        throw ImportError(name,
            QStringView(text).left(std::max(bad, qsizetype { 0 })).count(QLatin1Char('\n')) + 1,
            "no es texto UTF-8");
    }
    return text;
}

/// By its commonest words.
QString guessedLanguage(const RawBible &raw)
{
    static const QRegularExpression spanish(QStringLiteral("\\b(?:de|que|y|el|los|la|en)\\b"));
    static const QRegularExpression english(QStringLiteral("\\b(?:the|and|of|that|to|in)\\b"));
    QString sample;
    for (const auto &[book, chapters] : raw.books) {
        for (const auto &[number, text] : chapters.begin()->second) {
            sample += text + QLatin1Char(' ');
        }
    }
    return sample.count(spanish) >= sample.count(english) ? QStringLiteral("es")
                                                          : QStringLiteral("en");
}

/// "spa", "es-419" → "es".
QString languageOf(const RawBible &raw)
{
    static const QRegularExpression ends(QStringLiteral("[-_].*$"));
    QString code = raw.lang.toLower();
    code.remove(ends);
    static const std::array<std::pair<const char *, const char *>, 7> known { { { "spa", "es" },
        { "esp", "es" },
        { "eng", "en" },
        { "por", "pt" },
        { "fra", "fr" },
        { "fre", "fr" },
        { "ita", "it" } } };
    for (const auto &[three, two] : known) {
        if (code == QLatin1String(three)) {
            return QLatin1String(two);
        }
    }
    static const QRegularExpression form(QStringLiteral("^[a-z]{2,3}$"));
    return form.match(code).hasMatch() ? code : guessedLanguage(raw);
}

/// Letters and digits of the code, else the first letters of the name: "RVR1960", "BL2".
QString identifierOf(const QString &code, const QString &name)
{
    static const QRegularExpression sign(QStringLiteral("[^A-Z0-9]"));
    QString id = normalize(code).toUpper().remove(sign).left(longestId);
    if (id.size() < 2) {
        id.clear();
        for (const QString &word : normalize(name).toUpper().split(QLatin1Char(' '))) {
            QString plain = word;
            plain.remove(sign);
            id += !plain.isEmpty() && plain.front().isDigit() ? plain : plain.left(1);
        }
        id = id.left(longestId);
    }
    return id.size() < 2 ? QStringLiteral("BIBLIA") : id;
}

bool isTaken(const QString &id, const QList<BiblePtr> &others)
{
    return std::any_of(others.begin(), others.end(), [&id](const BiblePtr &each) {
        return each->id.compare(id, Qt::CaseInsensitive) == 0;
    });
}

/// That Bible is this one, imported before: of the same code and name.
bool isSame(const Bible &other, const QString &id, const QString &name)
{
    const bool isNumbered = other.id.startsWith(id + QLatin1Char('-'));
    return other.isImported && (other.id == id || isNumbered)
        && (other.name == name || other.name == name + QStringLiteral(" (%1)").arg(other.id));
}

void identify(Bible &bible, const RawBible &raw, const QList<BiblePtr> &others)
{
    bible.name = raw.name.simplified().left(longestName);
    if (bible.name.isEmpty()) {
        bible.name = raw.code;
    }
    const QString first = identifierOf(raw.code, bible.name);
    for (const BiblePtr &other : others) {
        if (isSame(*other, first, bible.name)) {
            bible.id = other->id;
            bible.name = other->name;
            return;
        }
    }
    bible.id = first;
    for (int number = 2; isTaken(bible.id, others); ++number) {
        bible.id = first + QLatin1Char('-') + QString::number(number);
    }
    const bool isNamed = std::any_of(others.begin(), others.end(), [&bible](const BiblePtr &each) {
        return each->name == bible.name;
    });
    if (isNamed) {
        bible.name += QStringLiteral(" (%1)").arg(bible.id);
    }
}

/// A chapter's title stands before its first verse.
QJsonArray versesOf(const RawBible::Chapters &chapters, std::int32_t chapter, std::int32_t kept)
{
    QJsonArray verses;
    for (std::int32_t verse = 1; verse <= kept; ++verse) {
        const RawBible::Verses &all = chapters.at(chapter);
        const auto text = all.find(verse);
        const auto title = verse == 1 ? all.find(0) : all.end();
        const QString before = title == all.end() ? QString() : title->second + QLatin1Char(' ');
        verses.append(text == all.end() ? QString() : before + text->second);
    }
    return verses;
}

} // namespace

RawBible readBibleFiles(const QStringList &paths)
{
    RawBible raw;
    for (const QString &path : paths) {
        const QByteArray data = readFile(path);
        const QString name = QFileInfo(path).fileName();
        const QChar sign = firstSign(data);
        if (sign == QLatin1Char('<')) {
            if (paths.size() > 1) {
                throw nimbara::Error("Elige un solo archivo OSIS o Zefania, o varios USFM.");
            }
            raw = readXml(data, name);
        } else if (sign == QLatin1Char('\\')) {
            readUsfm(raw, decoded(data, name), name);
        } else {
            throw ImportError(name, 1, "no es OSIS, USFM ni Zefania");
        }
    }
    const QFileInfo first(paths.value(0));
    if (raw.books.empty()) {
        throw nimbara::Error(
            Message("%1 no tiene ningún versículo", { Message::verbatim(first.fileName()) }));
    }
    if (raw.name.simplified().isEmpty()) {
        raw.name = paths.size() > 1 ? first.dir().dirName() : first.completeBaseName();
    }
    return raw;
}

Bible inCanon(const RawBible &raw, const QList<BiblePtr> &others)
{
    Bible bible;
    identify(bible, raw, others);
    bible.lang = languageOf(raw);
    bible.license = raw.license.simplified().left(longestLicense);
    bible.isImported = true;
    for (std::int32_t book = 0; book < static_cast<std::int32_t>(books.size()); ++book) {
        QJsonArray chapters;
        const auto found = raw.books.find(book);
        if (found != raw.books.end()) {
            const Numbering numbering(book, found->second);
            for (std::int32_t chapter = 1; chapter <= canonChapters(book); ++chapter) {
                chapters.append(versesOf(found->second, chapter, numbering.kept(chapter)));
                if (numbering.differs(chapter)) {
                    bible.renumbered.insert(chapterKey(book, chapter));
                }
            }
        }
        bible.books.append(chapters);
    }
    bible.valid = true;
    return bible;
}

} // namespace bible

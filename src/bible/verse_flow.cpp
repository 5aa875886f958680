#include "bible/verse_flow.h"

#include "base/i18n.h"
#include "bible/canon.h"
#include "bible/named_bible.h"
#include "bible/reader.h"

#include <algorithm>
#include <utility>

namespace bible {

namespace {

using nimbara::Message;

QString otherPrefix()
{
    return QStringLiteral("other:");
}
QString importedPrefix()
{
    return QStringLiteral("bible:");
}
QString spanishCode()
{
    return QStringLiteral("es");
}
QString englishCode()
{
    return QStringLiteral("en");
}
QString translationText()
{
    return QStringLiteral("traducción automática");
}
QString dot()
{
    return QStringLiteral(" · ");
}

VerseOutcome shown(const QString &text, const QString &label, const QString &source)
{
    return { VerseUpdate { std::nullopt, text, label + dot() + source }, readyStatus(label) };
}

Message describeLimit(const Limit &limit, const QString &lang)
{
    const auto count = Message::verbatim(QString::number(limit.count));
    if (limit.chapter > 0) {
        const Passage chapter { limit.book, { { limit.chapter, 0, limit.chapter, 0 } } };
        return { "%1 tiene %2 versículos.", { Message::verbatim(label(chapter, lang)), count } };
    }
    const auto book = Message::verbatim(bookName(limit.book, lang));
    return limit.count == 1 ? Message("%1 tiene 1 capítulo.", { book })
                            : Message("%1 tiene %2 capítulos.", { book, count });
}

Message describeAbsence(const Limit &limit, const QString &lang)
{
    const Message absent = "Esa cita no existe en la Biblia";
    return limit.book < 0
        ? absent
        : absent + Message::verbatim(QStringLiteral(". ")) + describeLimit(limit, lang);
}

/// Verses that the Bible leaves empty; where they are the last ones of their chapter, what it has.
Message describeEmpty(const Bible &bible, const Passage &passage, const QString &lang)
{
    Message absent = "Esa cita no existe en la Biblia";
    const Span &first = passage.spans.first();
    std::int32_t last = canonVerses(passage.book, first.chapterFrom);
    while (
        last > 0 && verseText(bible, { passage.book, first.chapterFrom, last, last }).isEmpty()) {
        --last;
    }
    if (last == 0 || first.verseFrom <= last) {
        return absent;
    }
    const Passage chapter { passage.book, { { first.chapterFrom, 0, first.chapterFrom, 0 } } };
    return absent + Message::verbatim(QStringLiteral(". "))
        + Message("En %1, %2 tiene %3 versículos.",
            { Message::verbatim(bible.name),
                Message::verbatim(label(chapter, lang)),
                Message::verbatim(QString::number(last)) });
}

QStringList offersOf(const Reading &reading, const QString &lang)
{
    QStringList offers;
    for (const Passage &passage : reading.passages) {
        const QString bible
            = reading.bible.isEmpty() ? QString() : QLatin1Char(' ') + reading.bible;
        offers << label(passage, lang) + bible;
    }
    return offers;
}

} // namespace

QString bibleChoice(const QString &stored, const QString &target)
{
    if (stored == spanishCode() || stored == englishCode() || stored == QLatin1String("api")
        || importedChoice(stored)) {
        return stored;
    }
    const QString language = target.trimmed().toLower();
    if (language.startsWith(QLatin1String("spanish"))
        || language.startsWith(QLatin1String("espa"))) {
        return spanishCode();
    }
    if (language.isEmpty() || language.startsWith(QLatin1String("english"))
        || language.startsWith(QLatin1String("ingl"))) {
        return englishCode();
    }
    return otherPrefix() + language;
}

QString choiceOfImported(const QString &id)
{
    return importedPrefix() + id;
}

std::optional<QString> importedChoice(const QString &choice)
{
    if (!choice.startsWith(importedPrefix())) {
        return std::nullopt;
    }
    return choice.mid(importedPrefix().size());
}

BiblePtr firstBible(const QString &choice)
{
    const auto id = importedChoice(choice);
    return bibleWithId(id                              ? *id
            : builtInLanguage(choice) == englishCode() ? QStringLiteral("KJV")
                                                       : QStringLiteral("RV1909"));
}

QString builtInLanguage(const QString &choice)
{
    if (const auto id = importedChoice(choice)) {
        const BiblePtr bible = bibleWithId(*id);
        return bible == nullptr || bible->lang == spanishCode() ? spanishCode() : englishCode();
    }
    return choice == englishCode() ? englishCode() : spanishCode();
}

std::optional<QString> translationTarget(const QString &choice)
{
    if (!choice.startsWith(otherPrefix())) {
        return std::nullopt;
    }
    return choice.mid(otherPrefix().size());
}

DoubtfulReference::DoubtfulReference(QStringList offers)
    : Error(Message("La cita puede ser: ") + Message::verbatim(offers.join(dot())))
    , m_offers(std::move(offers))
{
}

Asked requireReference(const QString &typed, const QString &lang)
{
    const Reading reading = read(typed);
    switch (reading.status) {
    case Reading::Status::Found:
        return { reading.passages.first(), reading.bible };
    case Reading::Status::Doubtful:
        throw DoubtfulReference(offersOf(reading, lang));
    case Reading::Status::Absent:
        throw nimbara::Error(describeAbsence(reading.limit, lang));
    case Reading::Status::Unknown:
        break;
    }
    throw nimbara::Error(QStringLiteral("Cita no reconocida. Ejemplo: Juan 3:16 o Salmos 23"));
}

QString choiceFor(const QString &bible, const QString &choice, const QString &listed)
{
    if (bible.isEmpty()) {
        return choice;
    }
    if (bible == QLatin1String("RV1909")) {
        return spanishCode();
    }
    if (bible == QLatin1String("KJV")) {
        return englishCode();
    }
    if (const BiblePtr imported = importedNamed(bible)) {
        return choiceOfImported(imported->id);
    }
    if (!isListedAs(bible, listed)) {
        throw nimbara::Error(Message("La Biblia %1 no está incluida ni es la elegida de API.Bible",
            { Message::verbatim(bible) }));
    }
    return QStringLiteral("api");
}

VerseUpdate builtInVerse(const Bible &bible, const Passage &passage, const QString &lang)
{
    if (!bible.valid) {
        throw nimbara::Error(QStringLiteral("Biblia incluida no disponible"));
    }
    const QString text
        = bible.isImported ? presentText(bible, passage) : passageText(bible, passage);
    if (text.isEmpty()) {
        throw nimbara::Error(
            bible.isImported ? missingText(bible, passage) : describeEmpty(bible, passage, lang));
    }
    const QString name = label(passage, lang);
    return { name, text, name + dot() + bible.name };
}

Message missingText(const Bible &bible, const Passage &passage)
{
    return bible.isImported ? missingVerses(bible, passage) : Message();
}

Message missingVerses(const Bible &bible, const Passage &passage)
{
    const Passage missing = missingFrom(bible, passage);
    if (missing.spans.isEmpty()) {
        return {};
    }
    const Message text("No está en %1: %2.",
        { Message::verbatim(bible.name), Message::verbatim(label(missing, bible.lang)) });
    const bool renumbers
        = std::any_of(missing.spans.begin(), missing.spans.end(), [&](const Span &span) {
              for (auto chapter = span.chapterFrom; chapter <= span.chapterTo; ++chapter) {
                  if (bible.renumbered.contains(chapterKey(missing.book, chapter))) {
                      return true;
                  }
              }
              return false;
          });
    return renumbers ? text + " Esa Biblia numera allí de otra forma." : text;
}

QString referenceLine(const Bible &bible, const Passage &passage)
{
    return label(passage, bible.lang) + dot() + bible.name;
}

QString sourceName(const QString &listed)
{
    return listed.isEmpty() ? QStringLiteral("API.Bible")
                            : listed.left(listed.indexOf(QLatin1String(" (")));
}

QString translationName()
{
    return nimbara_i18n::tr(translationText());
}

bool isTranslationName(const QString &source)
{
    return source == translationText()
        || source == nimbara_i18n::english().value(translationText());
}

VerseOutcome passageOutcome(const Passage &passage,
    const QString &listed,
    const QString &text,
    const Message &error)
{
    if (!error.isEmpty()) {
        return { std::nullopt, error + Message::verbatim(dot()) + "se mantiene RV1909" };
    }
    return shown(text, label(passage, spanishCode()), sourceName(listed));
}

VerseOutcome translationOutcome(const Passage &passage, const QString &text, const Message &error)
{
    if (!error.isEmpty()) {
        return { std::nullopt, error };
    }
    return shown(text, label(passage, englishCode()), translationName());
}

Message readyStatus(const QString &label)
{
    return "Versículo listo: " + Message::verbatim(label);
}

} // namespace bible

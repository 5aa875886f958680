#pragma once

#include "base/error.h"
#include "base/message.h"
#include "bible/passage.h"
#include "bible/shelf.h"

#include <QString>
#include <QStringList>

#include <optional>

/// The steps of a verse lookup as pure functions: what is shown, what is said.
namespace bible {

/// Where verses come from: "es", "en", "api", "bible:" and the identifier of an imported Bible, or
/// "other:" and a language name in lower case. `stored` is the setting "bible_choice"; anything but
/// the first four follows `target`, the subtitles' language as the operator wrote it.
QString bibleChoice(const QString &stored, const QString &target);

/// The choice of the imported Bible with the identifier, and back; nothing for any other choice.
QString choiceOfImported(const QString &id);
std::optional<QString> importedChoice(const QString &choice);

/// The Bible whose text a choice shows first; none when it is an imported one that is not there.
/// The built-in ones must be loaded.
BiblePtr firstBible(const QString &choice);

/// The language that a choice labels references in: "en" for "en", and for an imported Bible that
/// is not Spanish, else "es".
QString builtInLanguage(const QString &choice);

/// The language name behind "other:"; nothing for any other choice.
std::optional<QString> translationTarget(const QString &choice);

/// What to write into a verse layer. An online reply leaves the name as it is.
struct VerseUpdate {
    std::optional<QString> name; ///< the layer's label, "Juan 3:16"
    QString text;
    QString reference; ///< "Juan 3:16 · Reina-Valera 1909"

    bool operator==(const VerseUpdate &) const = default;
};

/// What the operator typed.
struct Asked {
    Passage passage;
    QString bible; ///< named behind the reference, see `takeBible`; empty when none was
};

/// A typed reference that may mean several passages, or perhaps one that was not typed.
class DoubtfulReference : public nimbara::Error {
public:
    /// `offers` is not empty.
    explicit DoubtfulReference(QStringList offers);

    /// What may be meant, each as a reference that can be looked up, "Jueces 3:16".
    [[nodiscard]] const QStringList &offers() const { return m_offers; }

private:
    QStringList m_offers;
};

/// Reads a typed reference. Throws DoubtfulReference when it may mean several passages, and
/// nimbara::Error when it is not recognised, or when there is no such chapter or verse. What they
/// name is labelled in `lang`.
Asked requireReference(const QString &typed, const QString &lang);

/// The choice that shows the Bible that was named, see `Asked`: `choice` itself when none was.
/// `listed` is the chosen entry of the Bible list, or empty. Throws nimbara::Error when the Bible
/// is neither built in nor the entry.
QString choiceFor(const QString &bible, const QString &choice, const QString &listed);

/// The text at once: from a Bible of this computer, labelled in `lang`. Throws nimbara::Error when
/// the Bible is broken or has no such text.
VerseUpdate builtInVerse(const Bible &bible, const Passage &passage, const QString &lang);

/// Names what an imported Bible has not of the passage, and that it counts otherwise where it does.
/// Empty when it has all, and for a built-in one.
nimbara::Message missingText(const Bible &bible, const Passage &passage);

/// The same of any Bible.
nimbara::Message missingVerses(const Bible &bible, const Passage &passage);

/// "John 3:16 · King James Version", in the Bible's own language.
QString referenceLine(const Bible &bible, const Passage &passage);

/// What becomes of an online reply: the new contents of the layer, nothing when the built-in text
/// stays, and the message for the status line.
struct VerseOutcome {
    std::optional<VerseUpdate> update;
    nimbara::Message status;

    bool operator==(const VerseOutcome &) const = default;
};

/// `listed` is the chosen entry of the Bible list, "Reina Valera 1960 (RVR60)", or
/// empty.
VerseOutcome passageOutcome(const Passage &passage,
    const QString &listed,
    const QString &text,
    const nimbara::Message &error);

/// What a reference line names as the source of such a text: "Reina Valera 1960".
QString sourceName(const QString &listed);
/// The same for a text that was translated, in the operator's language.
QString translationName();
/// Whether a reference line names that source, in whatever language its window was.
bool isTranslationName(const QString &source);

VerseOutcome
translationOutcome(const Passage &passage, const QString &text, const nimbara::Message &error);

/// "Versículo listo: " and the label.
nimbara::Message readyStatus(const QString &label);

} // namespace bible

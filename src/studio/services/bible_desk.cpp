#include "studio/services/bible_desk.h"

#include <algorithm>
#include <array>

namespace nimbara {

namespace {

const QString choiceSetting = QStringLiteral("bible_choice");
const QString idSetting = QStringLiteral("apibible_id");
const QString nameSetting = QStringLiteral("apibible_name");

/// The stored words of the choice.
constexpr std::array<const char *, BibleDesk::choices> words { "auto", "es", "en", "api" };

} // namespace

BibleDesk::BibleDesk(const Surroundings &surroundings)
    : m_surroundings(surroundings)
    , m_key(surroundings.secrets, secret_account::apiBible())
{
}

int BibleDesk::choice() const
{
    const QString stored = m_surroundings.settings.value(choiceSetting).toString();
    const auto *found = std::find_if(words.begin(), words.end(), [&stored](const char *word) {
        return stored == QLatin1String(word);
    });
    return found == words.end() ? 0 : static_cast<int>(found - words.begin());
}

void BibleDesk::choose(int choice)
{
    m_surroundings.settings.setValue(choiceSetting,
        QLatin1String(words.at(static_cast<std::size_t>(choice))));
}

QString BibleDesk::imported() const
{
    const QString stored = m_surroundings.settings.value(choiceSetting).toString();
    return bible::importedChoice(stored).value_or(QString());
}

void BibleDesk::chooseImported(const QString &id)
{
    m_surroundings.settings.setValue(choiceSetting, bible::choiceOfImported(id));
}

bible::BiblePtr BibleDesk::firstFor(const QString &named) const
{
    const bible::BiblePtr imported = named.isEmpty() ? nullptr : bible::importedNamed(named);
    const bible::BiblePtr builtIn = bible::bibleWithId(named);
    return imported != nullptr ? imported : builtIn != nullptr ? builtIn : first();
}

QString BibleDesk::resolvedChoice() const
{
    if (const QString id = imported(); !id.isEmpty()) {
        return bible::choiceOfImported(id);
    }
    return bible::bibleChoice(QLatin1String(words.at(static_cast<std::size_t>(choice()))),
        m_surroundings.translation.target());
}

bool BibleDesk::isOnline() const
{
    const QString choice = resolvedChoice();
    return choice == QLatin1String("api") || bible::translationTarget(choice).has_value();
}

bible::ListedBible BibleDesk::online() const
{
    return { m_surroundings.settings.value(idSetting).toString(),
        m_surroundings.settings.value(nameSetting).toString() };
}

void BibleDesk::chooseOnline(const bible::ListedBible &bible)
{
    m_surroundings.settings.setValue(idSetting, bible.id);
    m_surroundings.settings.setValue(nameSetting, bible.text);
}

bible::VerseLookup::Source BibleDesk::chosen() const
{
    const bible::ListedBible listed = online();
    return { resolvedChoice(), listed.id, listed.text };
}

bible::VerseLookup::Source BibleDesk::whereFrom(const QString &name) const
{
    bible::VerseLookup::Source source = chosen();
    if (const bible::BiblePtr bible = bible::bibleWithName(name)) {
        source.choice = bible->isImported ? bible::choiceOfImported(bible->id) : bible->lang;
    } else if (!source.apiBibleId.isEmpty() && name == bible::sourceName(source.apiBibleName)) {
        source.choice = QStringLiteral("api");
    }
    return source;
}

void BibleDesk::lookUp(LayerId layer,
    const QString &typed,
    const bible::VerseLookup::Source &source)
{
    try {
        m_surroundings.verses.lookupVerse(layer, typed, source);
    } catch (const bible::DoubtfulReference &doubt) {
        Q_EMIT said(doubt.message());
        Q_EMIT doubtful(layer, doubt.offers());
    }
}

void BibleDesk::findBibles()
{
    m_key.withKey([this](const QString &key) {
        if (key.isEmpty()) {
            Q_EMIT failed("Escribe tu clave de API.Bible");
            return;
        }
        m_key.save(key, [](bool) {});
        listBibles(key);
    });
}

void BibleDesk::listBibles(const QString &key)
{
    Q_EMIT said("Consultando API.Bible...");
    m_surroundings.verses.listBibles(key,
        [this](const QList<bible::ListedBible> &bibles, const Message &error) {
            if (!error.isEmpty()) {
                Q_EMIT said(error);
                return;
            }
            Q_EMIT biblesFound(bibles, bible::preferredBible(bibles));
            Q_EMIT said(
                "Biblias disponibles: " + Message::verbatim(QString::number(bibles.size())));
        });
}

} // namespace nimbara

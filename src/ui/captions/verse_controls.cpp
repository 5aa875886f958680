#include "ui/captions/verse_controls.h"

#include "base/error.h"
#include "base/i18n.h"
#include "ui/kit/key_field.h"

#include <QPointer>

#include <algorithm>
#include <array>

namespace nimbara {

namespace {

const QString choiceSetting = QStringLiteral("bible_choice");
const QString idSetting = QStringLiteral("apibible_id");
const QString nameSetting = QStringLiteral("apibible_name");

/// The stored words of the choice, in the order of the list.
constexpr std::array choices { "auto", "es", "en", "api" };

int entryOf(const QString &stored)
{
    const auto *found = std::find_if(choices.begin(), choices.end(), [&](const char *word) {
        return stored == QLatin1String(word);
    });
    return found == choices.end() ? 0 : static_cast<int>(found - choices.begin());
}

} // namespace

VerseControls::VerseControls(Studio &studio,
    QSettings &settings,
    const ErrorGuard &guard,
    Views views)
    : m_studio(studio)
    , m_settings(settings)
    , m_guard(guard)
    , m_views(views)
{
    showStored();
    connectViews();
    VerseDesk &desk = m_studio.verses();
    connect(&desk, &VerseDesk::failed, this, [this](const Message &reason) {
        m_guard.tell(reason);
    });
}

void VerseControls::showStored()
{
    m_views.bible.showChoice(entryOf(m_settings.value(choiceSetting).toString()));
    bindKeyField(*m_views.bible.key(), m_studio.bibleKey());
    const QString id = m_settings.value(idSetting).toString();
    if (!id.isEmpty()) {
        const QString name = m_settings.value(nameSetting).toString();
        m_views.bible.showBibles({ { id, name.isEmpty() ? id : name } }, 0);
    }
}

void VerseControls::connectViews()
{
    const BibleGroup *bible = &m_views.bible;
    connect(&m_views.tab, &SceneTab::verseRequested, this, &VerseControls::showQuickVerse);
    connect(m_views.tab.properties(),
        &PropertiesPanel::verseRequested,
        this,
        &VerseControls::showVerse);
    connect(bible, &BibleGroup::choiceMade, this, [this](int entry) {
        m_settings.setValue(choiceSetting,
            QLatin1String(choices.at(static_cast<std::size_t>(entry))));
    });
    connect(bible, &BibleGroup::bibleChosen, this, [this](const QString &id, const QString &text) {
        m_settings.setValue(idSetting, id);
        m_settings.setValue(nameSetting, text);
    });
    connect(bible, &BibleGroup::findPressed, this, &VerseControls::findBibles);
}

bible::VerseLookup::Source VerseControls::source() const
{
    return { bible::bibleChoice(
                 m_settings.value(choiceSetting, QLatin1String(choices.front())).toString(),
                 m_studio.translation().target()),
        m_settings.value(idSetting).toString(),
        m_views.bible.bibleName() };
}

void VerseControls::showVerse(LayerId layer, const QString &typed)
{
    m_guard.run([&] { m_studio.verses().lookupVerse(layer, typed, source()); });
}

void VerseControls::showQuickVerse(const QString &typed)
{
    const LayerId layer = m_studio.verses().quickVerseLayer();
    m_views.editor.select(layer);
    showVerse(layer, typed);
}

void VerseControls::findBibles()
{
    m_studio.bibleKey().withKey([self = QPointer(this)](const QString &key) {
        if (!self) {
            return;
        }
        self->m_guard.run([&] {
            if (key.isEmpty()) {
                throw Error(QStringLiteral("Escribe tu clave de API.Bible"));
            }
            self->m_studio.bibleKey().save(key, [](bool) {});
            self->listBibles(key);
        });
    });
}

void VerseControls::listBibles(const QString &key)
{
    m_studio.status(nimbara_i18n::tr("Consultando API.Bible..."));
    m_studio.verses().listBibles(key,
        [this](const QList<bible::ListedBible> &bibles, const Message &error) {
            if (!error.isEmpty()) {
                m_studio.status(nimbara_i18n::tr(error));
                return;
            }
            m_views.bible.showBibles(bibles, bible::preferredBible(bibles));
            m_studio.status(
                nimbara_i18n::tr("Biblias disponibles: ") + QString::number(bibles.size()));
        });
}

} // namespace nimbara

#include "studio/services/spoken_verses.h"

#include "base/error.h"
#include "bible/spoken_references.h"
#include "studio/services/second_verse.h"
#include "translation/service/languages.h"

#include <algorithm>
#include <utility>

namespace nimbara {

namespace {

const QString onAirSetting = QStringLiteral("spoken_verse_on_air");
constexpr qsizetype keptLetters = 120; ///< of a phrase; no reference is longer

/// Why PREVIEW waits for the operator: only the verse of what is on air may change by itself, and
/// nothing that is being prepared goes with it. Empty: it need not.
Message whatHolds(const Stage &stage, LayerId verse)
{
    const ScenePtr &air
        = stage.document.editingHall() ? stage.program.hall() : stage.program.streams();
    Scene preview = *stage.document.currentScene();
    if (!air || air->id != preview.id) {
        return "El versículo espera: en PREVIEW no está la escena que está al aire.";
    }
    if (findLayer(*air, verse) == nullptr) { // put there for a verse, and not sent yet
        std::erase_if(preview.layers, [verse](const Layer &each) { return each.id == verse; });
    }
    const std::vector<SetVerse> none { { verse, {}, {}, QString(), 0, {} } };
    const Project &project = stage.document.project();
    const bool isTitled = stage.document.editingHall() // where no title is shown
        || (stage.program.title() == project.title && stage.program.band() == project.band);
    const bool isSame
        = *amended(std::make_shared<const Scene>(preview), none) == *amended(air, none);
    return isTitled && isSame
        ? Message()
        : Message("El versículo espera: en PREVIEW hay cambios que no están al aire.");
}

} // namespace

SpokenVerses::SpokenVerses(const Clock &clock, const Surroundings &surroundings)
    : m_clock(clock)
    , m_surroundings(surroundings)
    , m_ready(bible::prepare())
    , m_source(surroundings.translation.source())
    , m_goesOnAir(surroundings.settings.value(onAirSetting, false).toBool())
{
    connect(&m_surroundings.translation, &TranslationDesk::understood, this, &SpokenVerses::hear);
    connect(&m_surroundings.quotations,
        &QuotationFinder::found,
        this,
        &SpokenVerses::takeQuotation);
    connect(&m_surroundings.translation, &TranslationDesk::began, this, [this] {
        m_source = m_surroundings.translation.source();
        m_before.clear();
        m_announced.clear();
        m_last.written = {}; // of another Bible
        m_last.written = writtenOf(m_last.passage);
        m_shown.clear();
    });
    m_surroundings.translation.setFinalText(
        [this](const QString &original, const QString &translation, const QString &language) {
            return captionFor(original, translation, language);
        });
}

void SpokenVerses::setGoesOnAir(bool goes)
{
    m_goesOnAir = goes;
    m_surroundings.settings.setValue(onAirSetting, goes);
    Q_EMIT changed();
}

void SpokenVerses::hear(const QString &text, bool isGrowing)
{
    if (m_source.isEmpty()) {
        return; // references are known in two languages
    }
    const QString before = nowMs() - m_beforeMs > cutMs ? QString() : m_before;
    const QString whole = before.isEmpty() ? text : before + QLatin1Char(' ') + text;
    const auto references = bible::findSpoken(whole,
        m_source == QLatin1String("es") ? bible::spoken::Language::Spanish
                                        : bible::spoken::Language::English,
        isGrowing);
    for (const bible::SpokenReference &each : references) {
        if (each.to > before.size()) {
            m_namedMs = nowMs();
            offer(each.passage, isGrowing);
        }
    }
    m_surroundings.quotations.hear(text, isGrowing);
    if (!isGrowing) {
        m_before = text.right(keptLetters);
        m_beforeMs = nowMs();
    }
}

void SpokenVerses::offer(const bible::Passage &passage, bool isGrowing)
{
    const bible::Bible *own = bibleOf(m_surroundings.bibles.language());
    if (!m_ready.isFinished() || own == nullptr || bible::passageText(*own, passage).isEmpty()) {
        return; // what the Bible does not have is never offered
    }
    if (!isGrowing) {
        announce(passage);
    }
    const bool isKnown = passage == m_last.passage && nowMs() - m_last.ms < againMs;
    if (!isKnown) {
        m_last = { passage, nowMs(), writtenOf(passage) };
        m_offered = bible::label(passage, m_surroundings.bibles.language());
        m_isPrepared = false;
        m_prepared.reset();
        Q_EMIT changed();
    }
    if (m_goesOnAir && !isGrowing && !m_isPrepared && !m_offered.isEmpty()) {
        showByItself();
    }
}

void SpokenVerses::showByItself()
{
    if (const Message reason = whatHolds(m_surroundings.stage, verseLayer()); !reason.isEmpty()) {
        Q_EMIT said(reason);
        return;
    }
    try {
        prepare();
        takeOnAir();
    } catch (const std::exception &error) {
        Q_EMIT said(errorMessage(error));
    }
}

/// One that is seen, where there is one.
LayerId SpokenVerses::verseLayer() const
{
    const std::vector<Layer> &layers = m_surroundings.stage.document.currentScene()->layers;
    const auto found = std::find_if(layers.rbegin(), layers.rend(), [](const Layer &each) {
        return each.kind == LayerKind::Verse && each.visible;
    });
    return found != layers.rend() ? found->id : m_surroundings.verses.quickVerseLayer();
}

void SpokenVerses::takeQuotation(const bible::Passage &verse, const QString &text, bool isGrowing)
{
    // What was named goes before what is read of it, and before what was quoted earlier.
    const bool isNamed = m_namedMs && nowMs() - *m_namedMs < cutMs;
    if (isNamed || (verse != m_last.passage && isReading(text))) {
        return;
    }
    offer(verse, isGrowing);
}

bool SpokenVerses::isReading(const QString &said) const
{
    const auto isRead = [&](const Announced &each, std::int64_t lastsMs) {
        return nowMs() - each.ms <= lastsMs && !bible::versesRead(said, each.written).isEmpty();
    };
    return isRead(m_last, againMs)
        || std::any_of(m_announced.begin(), m_announced.end(), [&](const Announced &each) {
               return isRead(each, announcedMs);
           });
}

/// Read once, however often it is held against what is said.
bible::WrittenVerses SpokenVerses::writtenOf(const bible::Passage &passage) const
{
    if (passage == m_last.passage && !m_last.written.words.isEmpty()) {
        return m_last.written;
    }
    for (const Announced &each : m_announced) {
        if (passage == each.passage) {
            return each.written;
        }
    }
    const bible::Bible *source = m_ready.isFinished() ? bibleOf(m_source) : nullptr;
    return source != nullptr ? bible::writtenVerses(*source, passage) : bible::WrittenVerses();
}

void SpokenVerses::announce(const bible::Passage &passage)
{
    const auto same = std::find_if(m_announced.begin(), m_announced.end(), [&](const auto &each) {
        return each.passage == passage;
    });
    Announced announced { passage, nowMs(), writtenOf(passage) };
    if (same != m_announced.end()) {
        m_announced.erase(same);
    }
    m_announced.push_front(std::move(announced));
    if (m_announced.size() > mostAnnounced) {
        m_announced.pop_back();
    }
}

std::optional<LayerId> SpokenVerses::prepare()
{
    if (m_offered.isEmpty()) {
        return std::nullopt;
    }
    const LayerId layer = verseLayer();
    m_surroundings.bibles.lookUp(layer, m_offered);
    m_prepared = layer;
    m_isPrepared = true;
    Q_EMIT changed();
    return layer;
}

void SpokenVerses::takeOnAir()
{
    const Scene &preview = *m_surroundings.stage.document.currentScene();
    const Layer *layer = m_prepared ? findLayer(preview, *m_prepared) : nullptr;
    if (layer == nullptr || passageOf(layer->reference) != m_last.passage) {
        Q_EMIT said("Ningún versículo dicho está en PREVIEW: prepáralo primero.");
        return;
    }
    m_prepared.reset();
    m_offered.clear();
    m_isPrepared = false;
    m_surroundings.program.take();
    Q_EMIT changed();
}

void SpokenVerses::dismiss()
{
    m_prepared.reset();
    m_offered.clear();
    m_isPrepared = false;
    Q_EMIT changed();
}

const bible::Bible *SpokenVerses::bibleOf(const QString &code) const
{
    if (code != QLatin1String("es") && code != QLatin1String("en")) {
        return nullptr;
    }
    const bible::Bible &found = code == QLatin1String("es") ? bible::spanish() : bible::english();
    return found.valid ? &found : nullptr;
}

QString SpokenVerses::captionFor(const QString &original,
    const QString &translation,
    const QString &language)
{
    if (m_announced.empty() || !m_ready.isFinished()) {
        return translation;
    }
    const QString code = languages::codeOf(language);
    const bible::Bible *target = bibleOf(code);
    if (target == nullptr) {
        return translation;
    }
    for (Announced &each : m_announced) {
        if (nowMs() - each.ms > announcedMs) {
            continue;
        }
        if (const auto verses = bible::versesRead(original, each.written); !verses.isEmpty()) {
            each.ms = nowMs();
            const bool isThere = std::none_of(verses.begin(), verses.end(), [&](const auto &verse) {
                return bible::passageText(*target, verse).isEmpty();
            });
            return isThere ? verseCaption(verses, code) : translation;
        }
    }
    return translation;
}

QString SpokenVerses::verseCaption(const QList<bible::Passage> &verses, const QString &code)
{
    QStringList captions;
    for (const bible::Passage &verse : verses) {
        const QString label = bible::label(verse, code);
        const auto shown = m_shown.find({ code, label });
        const bool isOn = shown != m_shown.end() && nowMs() - shown->second < shownMs;
        m_shown[{ code, label }] = nowMs();
        if (!isOn) {
            captions.append(bible::passageText(*bibleOf(code), verse) + QStringLiteral(" (") + label
                + QLatin1Char(')'));
        }
    }
    return captions.join(QLatin1Char(' '));
}

} // namespace nimbara

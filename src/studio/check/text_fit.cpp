#include "studio/check/text_fit.h"

#include "bible/longest_verse.h"
#include "bible/verse_flow.h"
#include "compositor/scene/verse_pager.h"
#include "compositor/text/text_overflow.h"
#include "studio/services/second_verse.h"

#include <algorithm>
#include <map>
#include <utility>

namespace nimbara {

namespace {

/// Split into pages.
bool isPaged(const Layer &layer)
{
    return layer.kind == LayerKind::Verse && layer.paged;
}

/// Of a layer that is not paged.
bool hides(const Layer &layer, FrameSize frame)
{
    const VersePages pages = pagesOf(layer, frame);
    return hiddenLines(pageShown(layer, pages), frame, pages.pages.front().numbers) > 0;
}

bool hidesItsText(const Layer &layer, FrameSize frame)
{
    const bool hasText = layer.kind == LayerKind::Text || layer.kind == LayerKind::Verse;
    return hasText && !isPaged(layer) && hides(layer, frame);
}

bool hidesCaption(Layer layer, FrameSize frame)
{
    layer.text = fullCaption();
    layer.reference.clear();
    return hiddenLines(layer, frame) > 0;
}

/// Tries the longest verses in verse layers; each Bible is gone over once.
class LongVerses {
public:
    explicit LongVerses(const QString &choice)
        : m_chosen(bible::firstBible(choice))
    {
    }

    /// A layer may be given another verse from where verses come from now, or from the Bible that
    /// it names.
    bool areHidden(const Layer &layer, FrameSize frame)
    {
        if (isPaged(layer)) {
            return false;
        }
        const bible::BiblePtr named
            = bible::bibleWithName(layer.reference.section(QStringLiteral(" · "), 1));
        return areHidden(layer, m_chosen, frame) || areHidden(layer, named, frame);
    }

private:
    bool areHidden(const Layer &layer, const bible::BiblePtr &first, FrameSize frame)
    {
        const bible::BiblePtr second = bible::bibleWithId(layer.second);
        return first != nullptr
            && (hidesVerse(layer, *first, longestOf(first), frame)
                || (second != nullptr && hidesVerse(layer, *first, longestOf(second), frame)));
    }

    static bool
    hidesVerse(Layer layer, const bible::Bible &first, const bible::Ref &verse, FrameSize frame)
    {
        const bible::Passage passage { verse.book,
            { { verse.chapter, verse.verseFrom, verse.chapter, verse.verseTo } } };
        const SecondText second = secondOf(layer, passage);
        layer.text = bible::presentText(first, passage);
        layer.reference = layer.text.isEmpty() ? QString() : bible::referenceLine(first, passage);
        layer.secondText = second.text;
        layer.secondReference = second.reference;
        return hides(layer, frame);
    }

    bible::Ref longestOf(const bible::BiblePtr &bible)
    {
        const auto [known, isNew] = m_longest.try_emplace(bible);
        if (isNew) {
            known->second = bible::longestVerse(*bible);
        }
        return known->second;
    }

    bible::BiblePtr m_chosen;
    std::map<bible::BiblePtr, bible::Ref> m_longest;
};

/// Adds the scene where the question is true for a layer of the kind.
template <typename Question>
void look(std::optional<QStringList> &names, const Scene &scene, LayerKind kind, Question isHidden)
{
    const auto isOfKind = [kind](const Layer &layer) { return layer.kind == kind; };
    if (std::none_of(scene.layers.begin(), scene.layers.end(), isOfKind)) {
        return;
    }
    if (!names) {
        names.emplace();
    }
    const auto fails = [&](const Layer &layer) { return layer.kind == kind && isHidden(layer); };
    if (std::any_of(scene.layers.begin(), scene.layers.end(), fails)) {
        names->append(scene.name);
    }
}

} // namespace

TextFit fitOfTexts(const std::vector<FramedScene> &scenes, const QString &choice)
{
    TextFit fit;
    LongVerses verses(choice);
    for (const auto &[scene, frame] : scenes) {
        const FrameSize size = frame;
        const std::vector<Layer> &layers = scene->layers;
        if (std::any_of(layers.begin(), layers.end(), [size](const Layer &layer) {
                return hidesItsText(layer, size);
            })) {
            fit.hidden << scene->name;
        }
        look(fit.longVerse, *scene, LayerKind::Verse, [&verses, size](const Layer &layer) {
            return verses.areHidden(layer, size);
        });
        look(fit.caption, *scene, LayerKind::Subtitle, [size](const Layer &layer) {
            return hidesCaption(layer, size);
        });
    }
    return fit;
}

QString fullCaption()
{
    return QStringLiteral("Demos gracias al Señor por este día y\n"
                          "cantemos juntos un himno de alabanza.");
}

} // namespace nimbara

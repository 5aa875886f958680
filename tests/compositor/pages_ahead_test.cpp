#include "compositor/page_columns.h"
#include "compositor/scene/composer.h"
#include "compositor/scene/pages_ahead.h"
#include "compositor/text/glyph_ink.h"
#include "compositor/text/paint_text.h"
#include "document/profile.h"
#include "support/shown.h"
#include "support/test_registry.h"

#include <algorithm>
#include <limits>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

constexpr std::int32_t lastPage = std::numeric_limits<std::int32_t>::max();
constexpr FrameSize upright = streamSize(StreamProfile::Portrait);

QString verses(const QString &words)
{
    QStringList all;
    for (int verse = 1; verse <= 40; ++verse) {
        all << QString::number(verse) << words;
    }
    return all.join(u' ');
}

Layer psalm(std::int32_t page)
{
    Layer layer = newLayer(LayerKind::Verse);
    layer.text = verses(u"Bienaventurados los que guardan tu palabra, y andan en tu ley."_s);
    layer.reference = u"Salmos 119:1-40 · Una"_s;
    layer.page = page;
    return layer;
}

Layer bilingual(Layer layer, std::int32_t arrangement)
{
    layer.secondText = verses(u"Blessed are they that keep thy word, who walk in the law."_s);
    layer.secondReference = u"Psalms 119:1-40 · Another"_s;
    layer.arrangement = arrangement;
    return layer;
}

TextBlock textOf(const PagedLayer &of)
{
    return drawn(of.layer, pagesOf(of.layer, of.frame), of.frame);
}

Sprite paintedNow(const TextBlock &block)
{
    GlyphInk ink;
    return paintText(block, ink);
}

QImage composed(const std::shared_ptr<PaintCache> &cache, const Layer &layer)
{
    Shown shown;
    shown.frame = landscapeSize;
    shown.layers = { layer };
    return Composer(cache).compose(shown);
}

/// The same page, each time in another colour.
std::vector<PagedLayer> inColours(int count)
{
    std::vector<PagedLayer> pages;
    for (int hue = 0; hue < count; ++hue) {
        pages.push_back({ psalm(0), landscapeSize });
        pages.back().layer.color = QColor::fromHsv(hue, 255, 255);
    }
    return pages;
}

std::size_t countPainted(VersePager &pager, const std::vector<PagedLayer> &pages)
{
    return std::count_if(pages.begin(), pages.end(), [&pager](const PagedLayer &each) {
        return pager.painted(textOf(each)) != nullptr;
    });
}

} // namespace

/// Pages of verses that are painted before they are shown.
class PagesAheadTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    /// The other thread painted other pixels, or a page that is not shown.
    void theyAreTheSamePixelForPixel()
    {
        struct Row {
            std::int32_t arrangement, numbers, size;
            bool isBilingual, shadow;
        };
        const std::initializer_list<Row> rows {
            { arrange::above, verse_numbers::plain, 48, false, true },
            { arrange::above, verse_numbers::raised, 96, false, true },
            { arrange::above, verse_numbers::plain, 48, true, false },
            { arrange::beside, verse_numbers::raised, 48, true, true },
            { arrange::alternating, verse_numbers::hidden, 64, true, true },
        };
        for (const Row &row : rows) {
            for (const FrameSize frame : { landscapeSize, upright }) {
                VersePager pager;
                std::vector<PagedLayer> wanted;
                for (const std::int32_t page : { 1, 2, lastPage }) {
                    Layer layer = psalm(page);
                    layer.size = row.size;
                    layer.shadow = row.shadow;
                    layer.numbers = row.numbers;
                    layer = row.isBilingual ? bilingual(layer, row.arrangement) : layer;
                    wanted.push_back({ layer, frame });
                }
                QVERIFY(pagesOf(wanted.front().layer, frame).pages.size() > 3);
                if (row.isBilingual) { // with pages that are known, and without
                    QVERIFY(pager.pages(wanted.front().layer, frame).size > 0);
                }
                pager.makeAhead(wanted);
                pager.finishAhead();
                for (const PagedLayer &each : wanted) {
                    const TextBlock block = textOf(each);
                    const SpritePtr ahead = pager.painted(block);
                    QVERIFY(ahead);
                    const Sprite now = paintedNow(block);
                    QCOMPARE(ahead->place, now.place);
                    QCOMPARE(ahead->image, now.image);
                }
            }
        }
    }

    /// A frame painted what was there; an edited layer was shown as it had been.
    void aFrameLaysDownWhatIsThere()
    {
        const auto pager = std::make_shared<VersePager>();
        const auto cache = std::make_shared<PaintCache>(pager);
        const Layer layer = psalm(1);
        pager->makeAhead({ { layer, landscapeSize } });
        pager->finishAhead();
        const TextBlock block = textOf({ layer, landscapeSize });
        QCOMPARE(cache->text(block), pager->painted(block));
        const auto plain
            = [](const Layer &of) { return composed(std::make_shared<PaintCache>(), of); };
        QCOMPARE(composed(cache, layer), plain(layer));

        Layer edited = layer;
        edited.color = Qt::red;
        QVERIFY(!pager->painted(textOf({ edited, landscapeSize })));
        QVERIFY(composed(cache, edited) != composed(cache, layer));
        QCOMPARE(composed(cache, edited), plain(edited));
        Layer hidden = psalm(2);
        hidden.visible = false;
        pager->makeAhead({ { hidden, landscapeSize } });
        pager->finishAhead();
        QVERIFY(!pager->painted(textOf({ hidden, landscapeSize })));
    }

    /// Pictures of pages that nobody asks for any more filled the memory.
    void itKeepsAHandful()
    {
        VersePager pager;
        const auto pages = inColours(PagesAhead::mostPainted + 4);
        pager.makeAhead(pages);
        pager.finishAhead();
        QCOMPARE(countPainted(pager, pages), PagesAhead::mostPainted);
        QVERIFY(pager.painted(textOf(pages.back())));
        pager.makeAhead({});
        QCOMPARE(countPainted(pager, pages), std::size_t { 0 });
        pager.makeAhead(pages);
        pager.makeAhead({}); // while it paints
        pager.finishAhead();
        QCOMPARE(countPainted(pager, pages), std::size_t { 0 });
    }

    /// The picture on air went with what had painted it.
    void closingWhileItPaints()
    {
        const auto pages = inColours(8);
        const TextBlock block = textOf(pages.front());
        auto pager = std::make_unique<VersePager>();
        pager->makeAhead(pages);
        QTRY_VERIFY(pager->painted(block));
        const SpritePtr held = pager->painted(block);
        pager.reset();
        QCOMPARE(held->image, paintedNow(block).image);
    }
};

NIMBARA_TEST(PagesAheadTest)
#include "pages_ahead_test.moc"

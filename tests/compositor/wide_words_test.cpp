#include "compositor/page_columns.h"
#include "compositor/text/text_overflow.h"
#include "document/profile.h"
#include "support/test_registry.h"

#include <QRegularExpression>

#include <array>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

struct Looks {
    QString lost; ///< of its pages: what reaches out of its column or is hidden, or a word on none
    bool isBeside = false;
    bool isDivided = false; ///< a word is
};

Looks looksOf(Layer layer, FrameSize frame)
{
    const VersePages pages = pagesOf(layer, frame);
    Looks looks;
    QString shown;
    for (std::size_t each = 0; each < pages.pages.size(); ++each) {
        layer.page = static_cast<std::int32_t>(each);
        const VersePage &page = pages.pages[each];
        const TextBlock block = drawn(layer, pages, frame);
        const bool isHidden = hiddenLines(pageShown(layer, pages), frame, page.numbers) > 0;
        if ((layer.paged && isHidden) || !isWithinColumns(block)) {
            looks.lost = page.text;
        }
        for (const TextDraw &draw : block.draws) {
            shown += draw.text;
        }
        looks.isBeside = looks.isBeside || !page.second.isEmpty();
    }
    looks.isDivided = shown.contains(u"-\n"_s);
    const auto letters = [](QString text) { return text.remove(QRegularExpression(u"[\\s-]"_s)); };
    shown = letters(shown);
    for (const QString &word : (layer.text + u' ' + layer.secondText).split(u' ')) {
        looks.lost = shown.contains(letters(word)) ? looks.lost : word;
    }
    return looks;
}

} // namespace

/// Words that are wider than their column.
class WideWordsTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    /// A word wider than its column lost the letters beyond the edge.
    void noLetterIsBeyondItsColumn()
    {
        constexpr FrameSize upright = streamSize(StreamProfile::Portrait);
        struct Shown {
            QString text, label;
        };
        const Shown spanish { u"3 BIENAVENTURADOS los pobres en espíritu: Padreeterno"_s,
            u"Mateo 5:3"_s };
        const Shown english { u"3 Blessed are the everlastingly humble ones"_s, u"Matthew 5:3"_s };
        const Shown longName { u"16 Estad siempre gozosos"_s, u"1 Tesalonicenses 5:16"_s };
        const Shown marked { u"1 Maher-salal-hash-baz, sinunblancoalgunoquelodivida"_s,
            u"Isaías 8:1"_s };
        struct Row {
            const char *label;
            Shown first, second;
            FrameSize frame;
            double width;
            std::int32_t arrangement, size;
            bool paged, isBeside, isDivided; ///< the last two: as it is shown
        };
        const std::initializer_list<Row> rows {
            { "smaller", spanish, english, upright, 0.84, arrange::beside, 32, true, true, false },
            { "no room beside",
                spanish,
                english,
                upright,
                0.84,
                arrange::beside,
                64,
                true,
                false,
                false },
            { "not paged",
                spanish,
                english,
                upright,
                0.84,
                arrange::beside,
                36,
                false,
                false,
                false },
            { "above", spanish, english, upright, 0.3, arrange::above, 60, true, false, true },
            { "alternating",
                spanish,
                english,
                upright,
                0.3,
                arrange::alternating,
                60,
                true,
                false,
                true },
            { "alone", spanish, {}, upright, 0.3, arrange::above, 60, true, false, true },
            { "alone, smaller",
                spanish,
                {},
                upright,
                0.84,
                arrange::above,
                64,
                true,
                false,
                false },
            { "alone, not paged",
                spanish,
                {},
                upright,
                0.3,
                arrange::above,
                60,
                false,
                false,
                true },
            { "low and narrow",
                spanish,
                {},
                landscapeSize,
                0.04,
                arrange::above,
                96,
                true,
                false,
                true },
            { "a long name", longName, {}, upright, 0.25, arrange::above, 60, true, false, true },
            { "marks within",
                marked,
                english,
                landscapeSize,
                0.15,
                arrange::beside,
                72,
                true,
                false,
                true },
        };
        for (const Row &row : rows) {
            Layer layer = newLayer(LayerKind::Verse);
            layer.text = row.first.text;
            layer.reference = row.first.label + u" · Reina-Valera 1909"_s;
            layer.secondText = row.second.text;
            layer.secondReference = row.second.label + u" · King James Version"_s;
            layer.arrangement = row.arrangement;
            layer.w = row.width;
            layer.size = row.size;
            layer.paged = row.paged;
            for (const std::int32_t place : { reference_place::after, reference_place::before }) {
                layer.referencePlace = place;
                for (const bool upperCase : { false, true }) {
                    layer.upperCase = upperCase;
                    const Looks looks = looksOf(layer, row.frame);
                    const QByteArray at = QByteArray(row.label) + ": " + looks.lost.toUtf8();
                    QVERIFY2(looks.lost.isEmpty(), at);
                    QVERIFY2(looks.isBeside == row.isBeside, at);
                    QVERIFY2(looks.isDivided == row.isDivided, at);
                }
            }
        }
    }

    /// A page ended with the number of a verse where its first word had to be divided.
    void aNumberStaysWithItsWord()
    {
        Layer layer = newLayer(LayerKind::Verse);
        layer.text = u"3 BIENAVENTURADOS los pobres en espíritu, porque de ellos es el reino 4 "
                     "Bienaventurados los que lloran"_s;
        layer.reference = u"Mateo 5:3-4 · Reina-Valera 1909"_s;
        layer.secondReference = u"Matthew 5:3-4 · King James Version"_s;
        layer.referencePlace = reference_place::hidden;
        layer.size = 60;
        const QRegularExpression lone(u"(^|\\s)\\d+$"_s);
        int divided = 0;
        for (int turn = 0; turn < 4 * 3 * 12; ++turn) {
            layer.arrangement = turn % 4 % 3;
            layer.secondText = turn % 4 == 3 ? QString()
                                             : u"3 BLESSEDLYANDEVERLASTINGLY are the poor in "
                                               "spirit 4 Blessed are they that mourn"_s;
            layer.w = std::array { 0.1, 0.15, 0.2 }.at(turn / 4 % 3);
            layer.h = 0.08 + 0.02 * (turn / 12); // NOLINT: whole turns
            for (const VersePage &page : pagesOf(layer, landscapeSize).pages) {
                divided += page.text.contains(u"-\n"_s) ? 1 : 0;
                QVERIFY2(!lone.match(page.text).hasMatch() && !lone.match(page.second).hasMatch(),
                    qPrintable(u"%1 in turn %2"_s.arg(page.text).arg(turn)));
            }
        }
        QVERIFY(divided > 0);
    }
};

NIMBARA_TEST(WideWordsTest)
#include "wide_words_test.moc"

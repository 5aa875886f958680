#include "bible/builtin.h"
#include "compositor/scene/composer.h"
#include "compositor/text/text_overflow.h"
#include "studio/services/verse_desk.h"
#include "support/manual_clock.h"
#include "support/test_registry.h"

#include <QFontMetricsF>
#include <QRegularExpression>
#include <QTest>

#include <algorithm>
#include <cmath>
#include <vector>

using namespace nimbara;
using nimbara::testing::ManualClock;
using namespace Qt::StringLiterals;

namespace {

/// A verse layer as the quick reference makes it, on a desk whose services are never asked.
struct VerseStage {
    ManualClock clock;
    Stage stage { clock };
    QString status;
    VerseDesk desk;
    LayerId place;

    VerseStage()
        : desk(openAiEndpoint(), apiBibleEndpoint(), stage, [this](auto &text) { status = text; })
        , place(desk.quickVerseLayer())
    {
        bible::prepare().waitForFinished();
    }
    const Layer &layer() { return *findLayer(stage.document.scenes(), place); }
    void show(const QString &typed, const QString &lang)
    {
        desk.lookupVerse(place, typed, { lang, {}, {} });
    }
    /// The number of hidden lines that the status line tells; −1 when it says something else.
    [[nodiscard]] int told(const QString &label) const
    {
        static const QRegularExpression form(
            u"^Versículo listo: (.+?)(?: · El texto no cabe en su recuadro: (\\d+) "
            "líneas? ocultas?)?$"_s);
        const auto match = form.match(status);
        return match.captured(1) == label ? match.captured(2).toInt() : -1;
    }
};

/// What the toolkit's own measuring says is hidden.
int measuredHidden(const Layer &layer, FrameSize frame)
{
    QFont font(layer.font);
    font.setPixelSize(frame.height * layer.size / 1080);
    font.setBold(layer.bold);
    const QFontMetricsF metrics(font);
    const QRectF area(0, 0, layer.w * frame.width - 24, 1e6);
    const QString text = layer.text + u'\n' + layer.reference;
    const double used
        = metrics.boundingRect(area, static_cast<int>(Qt::TextWordWrap), text).height();
    const double missing = used - (layer.h * frame.height - 16);
    return missing <= metrics.lineSpacing() / 4
        ? 0
        : static_cast<int>(std::ceil(missing / metrics.lineSpacing()));
}

enum class Ink { None, Inside, Spilled };

/// Where the picture is not black: within the box alone, or elsewhere too.
Ink inkIn(const QImage &picture, const QRect &box)
{
    const std::vector<QRgb> black(static_cast<std::size_t>(picture.width()), 0xff000000U);
    const auto isBlack = [&](int y, int from, int to) {
        const auto *row = reinterpret_cast<const QRgb *>(picture.constScanLine(y));
        return std::equal(row + from, row + to, black.begin());
    };
    Ink ink = Ink::None;
    for (int y = 0; y < picture.height(); ++y) {
        const bool beside = y >= box.top() && y <= box.bottom();
        const int left = beside ? box.left() : picture.width();
        const int right = beside ? box.right() + 1 : picture.width();
        if (!isBlack(y, 0, left) || !isBlack(y, right, picture.width())) {
            return Ink::Spilled;
        }
        ink = ink == Ink::None && !isBlack(y, left, right) ? Ink::Inside : ink;
    }
    return ink;
}

} // namespace

/// Verses of every length, looked up and drawn as the programs draw them.
class VerseDeskTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void everyChapterIsShownInItsBox_data()
    {
        QTest::addColumn<QString>("lang");
        QTest::newRow("Reina-Valera") << u"es"_s;
        QTest::newRow("King James") << u"en"_s;
    }
    void everyChapterIsShownInItsBox()
    {
        QFETCH(QString, lang);
        VerseStage on;
        PaintCache cache;
        const FrameSize size = on.stage.previewFrame();
        const FrameSize drawnSize { size.width / 2,
            size.height / 2 }; // takes a quarter of the time
        const QRect box = QRectF(0.08 * drawnSize.width,
            0.62 * drawnSize.height,
            0.84 * drawnSize.width,
            0.3 * drawnSize.height)
                              .toAlignedRect();
        const bible::Bible &bible = lang == u"es"_s ? bible::spanish() : bible::english();
        int drawn = 0;
        int overflowing = 0;
        for (std::int32_t book = 0; book < 66; ++book) {
            for (std::int32_t chapter = 1; chapter <= bible::chapterCount(bible, book); ++chapter) {
                const bible::Ref ref { book, chapter, 0, 0 };
                const QString label = bible::label(ref, lang);
                on.show(label, lang);
                QCOMPARE(on.layer().text, bible::verseText(bible, ref));
                const int hidden = on.told(label);
                QVERIFY2(hidden == measuredHidden(on.layer(), size), qPrintable(on.status));
                const QImage picture
                    = renderScene(*on.stage.document.currentScene(), {}, drawnSize, cache);
                cache.age();
                QVERIFY2(inkIn(picture, box) == Ink::Inside, qPrintable(label));
                ++drawn;
                overflowing += hidden > 0 ? 1 : 0;
            }
        }
        QCOMPARE(drawn, 1189);
        QVERIFY(overflowing > 1000); // at this size hardly a chapter fits
    }

    /// A box that is as many lines higher as are told to be hidden shows all, in any profile.
    void extremes()
    {
        VerseStage on;
        PaintCache cache;
        for (const auto &[typed, fits] : { std::pair { "Juan 11:35", true }, // the shortest verse
                 { "Ester 8:9", false }, // the longest one
                 { "Salmos 119", false }, // the longest chapter
                 { "Jonás 1:16-17", true } }) { // an empty verse
            for (const QString &lang : { u"es"_s, u"en"_s }) {
                on.show(QString::fromUtf8(typed), lang);
                for (const auto profile : { StreamProfile::Landscape, StreamProfile::Portrait }) {
                    const FrameSize size = streamSize(profile);
                    Layer layer = on.layer();
                    const int hidden = hiddenLines(layer, size);
                    QVERIFY2(profile == StreamProfile::Portrait || (hidden == 0) == fits, typed);
                    const QImage picture = renderScene({ {}, {}, { layer } }, {}, size, cache);
                    QVERIFY(inkIn(picture, picture.rect()) == Ink::Inside);
                    QFont font(layer.font, -1, layer.bold ? QFont::Bold : QFont::Normal);
                    font.setPixelSize(size.height * layer.size / 1080);
                    const double line = QFontMetricsF(font).lineSpacing() / size.height;
                    layer.h += (hidden - 2) * line;
                    QVERIFY(hidden < 2 || hiddenLines(layer, size) == 2);
                    layer.h += 2 * line;
                    QCOMPARE(hiddenLines(layer, size), 0);
                }
            }
        }
    }
};

NIMBARA_TEST(VerseDeskTest)
#include "verse_desk_test.moc"

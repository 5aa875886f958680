#include "compositor/reference_painter.h"
#include "compositor/scene/composer.h"
#include "compositor/scene/load_image.h"
#include "document/profile.h"
#include "support/test_registry.h"

#include <QTest>

#include <functional>

using namespace nimbara;
using namespace nimbara::testing;

namespace {

const QString spanish
    = QStringLiteral("Porque de tal manera amó Dios al mundo, que ha dado a su Hijo unigénito. "
                     "¿Quién dirá «amén»? ¡Aquél!");
const QString arabic = QStringLiteral("لأَنَّهُ هكَذَا أَحَبَّ اللهُ الْعَالَمَ حَتَّى بَذَلَ ابْنَهُ الْوَحِيدَ (يوحنا 3:16)");
const QString hindi
    = QStringLiteral("क्योंकि परमेश्वर ने जगत से ऐसा प्रेम रखा कि उसने अपना एकलौता पुत्र दे दिया");
const QString korean = QStringLiteral("하나님이 세상을 이처럼 사랑하사 독생자를 주셨으니");
const QString chinese
    = QStringLiteral("神爱世人，甚至将他的独生子赐给他们，叫一切信他的，不至灭亡，反得永生。");
const QString emoji = QStringLiteral("Gloria 🙏🏽 a Dios 🎉 en las alturas ❤️");

Layer textLayer(const QString &text)
{
    Layer layer;
    layer.kind = LayerKind::Text;
    layer.text = text;
    layer.x = 0.0503;
    layer.y = 0.1007;
    layer.w = 0.9;
    layer.h = 0.6;
    return layer;
}

/// No pixel of the canvas changed more than a shadow's reach above or below the box.
bool unchangedAround(const QImage &actual, const QImage &below, const QRect &box)
{
    QRect above = actual.rect();
    QRect under = actual.rect();
    above.setBottom(box.top() - 41);
    under.setTop(box.bottom() + 41);
    return meanDifference(actual, below, above) + meanDifference(actual, below, under) <= 0;
}

using Change = std::function<void(Layer &)>;

Change size(std::int32_t pixels)
{
    return [pixels](Layer &layer) { layer.size = pixels; };
}

Change aligned(std::int32_t bits)
{
    return [bits](Layer &layer) { layer.align = bits; };
}

Change subtitle(const char *newest, std::int32_t pixels = 44)
{
    return [newest, pixels](Layer &layer) {
        layer.kind = LayerKind::Subtitle;
        layer.reference = QString::fromUtf8(newest);
        layer.align = align::left | align::top;
        layer.size = pixels;
        layer.background = QColor(0, 0, 0, 0);
    };
}

QString longTitle()
{
    return spanish.repeated(10).left(500);
}

/// The canvas of the reference as a camera picture, so that both roads start from the same pixels.
QImage composed(const Layer &layer, const QImage &below)
{
    PaintCache cache;
    return renderScene(*makeScene({}, { Layer {}, layer }),
        { toFrame(below.convertToFormat(QImage::Format_RGBX8888)) },
        { below.width(), below.height() },
        cache);
}

} // namespace

class TextReferenceTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void layerMatchesThePainter()
    {
        std::vector<std::tuple<QByteArray, Layer, bool>> rows;
        const auto addRow = [&](const QByteArray &name,
                                const QString &text,
                                const Change &change,
                                bool portrait = false) {
            rows.emplace_back(name, textLayer(text), portrait);
            change(std::get<Layer>(rows.back()));
        };
        for (const std::int32_t pixels : { 8, 13, 24, 44, 56, 63, 64, 72, 120, 240, 400 }) {
            addRow(QStringLiteral("size %1").arg(pixels).toUtf8(), spanish, size(pixels));
        }
        addRow("portrait", spanish, size(56), true);
        addRow("portrait, small", spanish, size(30), true);
        for (const std::int32_t across :
            { align::left, align::right, align::horizontalCentre, align::justify }) {
            for (const std::int32_t down : { align::top, align::bottom, align::verticalCentre }) {
                addRow(QStringLiteral("alignment %1").arg(across + down).toUtf8(),
                    spanish,
                    aligned(across + down));
            }
        }
        addRow("regular weight", spanish, [](Layer &layer) { layer.bold = false; });
        addRow("no box", spanish, [](Layer &layer) { layer.background.setAlpha(0); });
        addRow("solid box", spanish, [](Layer &layer) { layer.background = Qt::darkRed; });
        addRow("no shadow", spanish, [](Layer &layer) { layer.shadow = false; });
        addRow("translucent text", spanish, [](Layer &layer) {
            layer.color = QColor(255, 200, 0, 90);
        });
        addRow("black text, shadow", spanish, [](Layer &layer) { layer.color = Qt::black; });
        addRow("layer opacity", spanish, [](Layer &layer) { layer.opacity = 0.4; });
        addRow("layer opacity, large", spanish, [](Layer &layer) {
            layer.opacity = 0.7;
            layer.size = 90;
        });
        addRow("a caption alone, of a centred layer", spanish, [](Layer &layer) {
            layer.kind = LayerKind::Subtitle;
            layer.align = align::horizontalCentre | align::verticalCentre;
        });
        addRow("two texts", spanish, subtitle("La frase más nueva."));
        addRow("two texts, blank line, large", spanish, subtitle("\nLa frase más nueva.", 72));
        addRow("verse", spanish, [](Layer &layer) {
            layer.kind = LayerKind::Verse;
            layer.reference = QStringLiteral("Juan 3:16");
        });
        addRow("Arabic", arabic, size(48));
        addRow("Arabic, large", arabic, size(80));
        addRow("Hindi", hindi, size(48));
        addRow("Hindi, large", hindi, size(80));
        addRow("Korean", korean, size(60));
        addRow("Chinese, large", chinese, size(76));
        addRow("emoji", emoji, size(56));
        addRow("emoji, large", emoji, size(96));
        addRow("500 characters", longTitle(), size(40));
        addRow("more than its box holds", longTitle(), size(110));
        addRow("a word longer than the box",
            spanish.mid(0, 30).remove(QLatin1Char(' ')).repeated(4),
            size(72));
        addRow("line breaks, tabs, blanks",
            QStringLiteral("uno\tdos\r\ntres  \n\n  cuatro & cinco "),
            size(56));
        for (const auto &[name, drawn, portrait] : rows) {
            const RowName named(name);
            const FrameSize frame = portrait ? portraitSize : landscapeSize;
            const QImage below = texturedCanvas(frame.width, frame.height);
            QImage expected = below;
            paintTextLayer(expected, drawn, frame.height);

            const QImage actual = composed(drawn, below);
            const QRect box = QRectF(drawn.x * frame.width,
                drawn.y * frame.height,
                drawn.w * frame.width,
                drawn.h * frame.height)
                                  .toAlignedRect();
            const double mean = meanDifference(actual, expected, box);
            QVERIFY2(meanDifference(expected, below, box) > 1, "the text leaves no trace");
            // The painter gives some fonts below 64 px (Korean here) a gamma that depends on what
            // lies below.
            QVERIFY2(mean < 0.3, qPrintable(QStringLiteral("mean difference %1").arg(mean)));
            QVERIFY2(unchangedAround(actual, below, box), "the layer reaches far beyond its box");
        }
    }

    void overlaysMatchThePainter()
    {
        const std::vector<std::tuple<const char *, QString, bool, bool>> rows {
            { "title", spanish, false, false },
            { "title of 600 characters", spanish.repeated(10).left(600), false, false },
            { "title, portrait", spanish, false, true },
            { "title, Arabic", arabic, false, false },
            { "caption", spanish, true, false },
            { "caption of 800 characters", spanish.repeated(10).left(800), true, false },
        };
        for (const auto &[name, text, isHall, portrait] : rows) {
            const RowName named(name);
            const FrameSize frame = portrait ? portraitSize : landscapeSize;
            const QImage below = texturedCanvas(frame.width, frame.height);
            QImage expected = below;
            if (isHall) {
                paintAutomaticCaption(expected, text);
            } else {
                paintTitleBand(expected, text);
            }
            Composition composition;
            composition.scene = makeScene({}, { Layer {} });
            composition.size = frame;
            composition.isHall = isHall;
            composition.pictures = { toFrame(below.convertToFormat(QImage::Format_RGBX8888)) };
            if (isHall) {
                composition.captions.phrases = { text };
            } else {
                composition.title = text;
            }
            const QImage actual = Composer(std::make_shared<PaintCache>()).compose(composition);
            const double mean = meanDifference(actual, expected, actual.rect());
            QVERIFY(meanDifference(expected, below, actual.rect()) > 1);
            QVERIFY2(mean < 0.1, qPrintable(QStringLiteral("mean difference %1").arg(mean)));
        }
    }
};

NIMBARA_TEST(TextReferenceTest)
#include "text_reference_test.moc"

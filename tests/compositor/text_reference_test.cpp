#include "compositor/scene/composer.h"
#include "compositor/scene/load_image.h"
#include "document/canvas_geometry.h"
#include "document/layer_geometry.h"
#include "document/profile.h"
#include "support/test_registry.h"

#include <QPainter>

#include <cstdlib>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

/// The dark copies of a text: where, and their alpha.
using Copies = QList<std::pair<QPointF, int>>;

Copies usualCopies(const Layer &layer, int frameHeight)
{
    const double d = std::max(frameHeight * layer.size / 19440, 2);
    return layer.shadow ? Copies { { { d, d }, 200 },
        { { -d, d }, 200 },
        { { d, -d }, 200 },
        { { -d, -d }, 200 },
        { { 0, 1.5 * d }, 200 } }
                        : Copies {};
}

void outlined(QPainter &painter,
    const QRectF &area,
    int flags,
    const QString &text,
    const Copies &copies)
{
    const QColor color = painter.pen().color();
    for (const auto &[by, alpha] : copies) {
        painter.setPen(QColor(0, 0, 0, alpha));
        painter.drawText(area.translated(by), flags, text);
    }
    painter.setPen(color);
    painter.drawText(area, flags, text);
}

/// The plain road to the same pixels, slow and simple: the painter draws box and every pass of a
/// text layer straight onto the canvas.
void paintTextLayer(QImage &canvas, const Layer &layer, int frameHeight, const Copies &copies)
{
    QPainter painter(&canvas);
    painter.setRenderHints(QPainter::TextAntialiasing | QPainter::SmoothPixmapTransform);
    painter.setOpacity(layer.opacity);
    const QRectF box(layer.x * canvas.width(),
        layer.y * canvas.height(),
        layer.w * canvas.width(),
        layer.h * canvas.height());
    if (layer.background.alpha() >= 1) {
        painter.fillRect(box, layer.background);
    }
    QFont font(layer.font);
    font.setPixelSize(std::max(frameHeight * layer.size / 1080, 4));
    font.setWeight(layer.bold ? QFont::Bold : QFont::Normal);
    painter.setFont(font);
    QRectF area = box.adjusted(12, 8, -12, -8);
    const bool subtitle = layer.kind == LayerKind::Subtitle;
    const int flags
        = Qt::TextWordWrap | (subtitle ? (layer.align & 15) | Qt::AlignTop : layer.align);
    painter.setPen(layer.color);
    if (subtitle && !layer.reference.isEmpty()) {
        QColor dim = layer.color;
        dim.setAlphaF(dim.alphaF() * 0.55F);
        painter.setPen(dim);
        outlined(painter, area, flags, layer.text, copies);
        const QRectF room(0, 0, area.width(), 1e6);
        area.setTop(area.top() + painter.boundingRect(room, flags, layer.text).height());
        painter.setPen(layer.color);
        outlined(painter, area, flags, layer.reference, copies);
        return;
    }
    const QString below = layer.kind == LayerKind::Verse ? u'\n' + layer.reference : QString();
    outlined(painter, area, flags, layer.text + below, copies);
}

/// The hall's automatic caption, or the title of the streams in its band.
void paintOverlay(QImage &canvas, const QString &text, bool isHall)
{
    const int width = canvas.width();
    const int height = canvas.height();
    QPainter painter(&canvas);
    painter.setRenderHint(QPainter::TextAntialiasing);
    const int pixels = std::max(isHall ? height / 16 : width / 45, 16);
    painter.setFont(QFont(u"Sans Serif"_s, pixels, QFont::Bold));
    QRect box(width / 20, height / 8, width * 18 / 20, height * 3 / 4);
    if (isHall) {
        painter.setPen(QColor(0, 0, 0, 200));
        painter.drawText(box.translated(4, 4), Qt::AlignCenter | Qt::TextWordWrap, text.left(700));
    } else {
        box.setRect(width / 25, height * 78 / 100, width * 23 / 25, height * 15 / 100);
        painter.fillRect(box, QColor(12, 48, 88, 235));
        box.adjust(24, 8, -24, -8);
    }
    painter.setPen(Qt::white);
    const int across = isHall ? Qt::AlignHCenter : Qt::AlignLeft;
    painter.drawText(box,
        across | Qt::AlignVCenter | Qt::TextWordWrap,
        text.left(isHall ? 700 : 500));
}

/// A canvas with something to see through translucent parts: a colour for every place.
QImage texturedCanvas(int width, int height)
{
    QImage canvas(width, height, QImage::Format_RGBA8888);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            canvas.setPixel(x, y, qRgb(x / 8, y / 5, (x + y) / 12));
        }
    }
    return canvas;
}

/// Of two pictures' colour channels in a part of them, 0..255.
double meanDifference(const QImage &a, const QImage &b, const QRect &part)
{
    std::int64_t sum = 0;
    for (int y = part.top(); y <= part.bottom(); ++y) {
        const uchar *first = a.constScanLine(y);
        const uchar *second = b.constScanLine(y);
        for (int byte = part.left() * 4; byte < (part.right() + 1) * 4; ++byte) {
            if (byte % 4 != 3) { // colours, not alpha
                sum += std::abs(first[byte] - second[byte]);
            }
        }
    }
    return static_cast<double>(sum) / (3.0 * part.width() * part.height());
}

const QString spanish = u"Porque de tal manera amó Dios al mundo, que ha dado a su Hijo unigénito. "
                        "¿Quién dirá «amén»? ¡Aquél!"_s;
const QString arabic = u"لأَنَّهُ هكَذَا أَحَبَّ اللهُ الْعَالَمَ حَتَّى بَذَلَ ابْنَهُ الْوَحِيدَ (يوحنا 3:16)"_s;
const QString hindi = u"क्योंकि परमेश्वर ने जगत से ऐसा प्रेम रखा कि उसने अपना एकलौता पुत्र दे दिया"_s;
const QString korean = u"하나님이 세상을 이처럼 사랑하사 독생자를 주셨으니"_s;
const QString chinese = u"神爱世人，甚至将他的独生子赐给他们，叫一切信他的，不至灭亡，反得永生。"_s;
const QString emoji = u"Gloria 🙏🏽 a Dios 🎉 en las alturas ❤️"_s;

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
    const QRect above(0, 0, actual.width(), box.top() - 40);
    const QRect under(0, box.bottom() + 41, actual.width(), actual.height() - box.bottom() - 41);
    return meanDifference(actual, below, above) + meanDifference(actual, below, under) <= 0;
}

using Change = std::function<void(Layer &)>;

Change size(std::int32_t pixels, double opacity = 1)
{
    return [=](Layer &layer) { layer.size = pixels, layer.opacity = opacity; };
}

Change subtitle(const char *newest, std::int32_t pixels = 44, std::int32_t across = align::left)
{
    return [=](Layer &layer) {
        layer.kind = LayerKind::Subtitle;
        layer.reference = QString::fromUtf8(newest);
        layer.align = across | align::verticalCentre;
        layer.size = pixels;
        layer.background.setAlpha(across == align::left ? 0 : layer.background.alpha());
    };
}

void verse(Layer &layer)
{
    layer.kind = LayerKind::Verse;
    layer.reference = u"Juan 3:16"_s;
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
        struct Row {
            QByteArray name;
            QString text;
            Change change;
            bool portrait = false;
        };
        const QString words = u"uno\tdos\r\ntres  \n\n  cuatro & cinco "_s;
        const QString endless = spanish.mid(0, 30).remove(u' ').repeated(4);
        std::vector<Row> rows {
            { "portrait", spanish, size(56), true },
            { "portrait, small", spanish, size(30), true },
            { "regular weight", spanish, [](auto &layer) { layer.bold = false; } },
            { "no box", spanish, [](auto &layer) { layer.background.setAlpha(0); } },
            { "solid box", spanish, [](auto &layer) { layer.background = Qt::darkRed; } },
            { "no shadow", spanish, [](auto &layer) { layer.shadow = false; } },
            { "translucent text", spanish, [](auto &layer) { layer.color.setAlpha(90); } },
            { "black text, shadow", spanish, [](auto &layer) { layer.color = Qt::black; } },
            { "layer opacity", spanish, size(44, 0.4) },
            { "layer opacity, large", spanish, size(90, 0.7) },
            { "a caption alone, centred", spanish, subtitle("", 44, align::horizontalCentre) },
            { "two texts", spanish, subtitle("La frase más nueva.") },
            { "two texts, blank line, large", spanish, subtitle("\nLa frase más nueva.", 72) },
            { "verse", spanish, verse },
            { "Arabic", arabic, size(48) },
            { "Arabic, large", arabic, size(80) },
            { "Hindi", hindi, size(48) },
            { "Hindi, large", hindi, size(80) },
            { "Korean", korean, size(60) },
            { "Chinese, large", chinese, size(76) },
            { "emoji", emoji, size(56) },
            { "emoji, large", emoji, size(96) },
            { "500 characters", spanish.repeated(10).left(500), size(40) },
            { "more than its box holds", spanish.repeated(10).left(500), size(110) },
            { "a word longer than the box", endless, size(72) },
            { "line breaks, tabs, blanks", words, size(56) },
        };
        for (const std::int32_t pixels : { 8, 13, 24, 44, 63, 64, 120, 240, 400 }) {
            rows.push_back({ "size " + QByteArray::number(pixels), spanish, size(pixels) });
        }
        for (const std::int32_t across :
            { align::left, align::right, align::horizontalCentre, align::justify }) {
            for (const std::int32_t down : { align::top, align::bottom, align::verticalCentre }) {
                const Change change = [=](auto &layer) { layer.align = across + down; };
                rows.push_back({ "align " + QByteArray::number(across + down), spanish, change });
            }
        }
        for (const auto &[name, text, change, portrait] : rows) {
            const RowName named(name);
            Layer drawn = textLayer(text);
            change(drawn);
            const FrameSize frame = portrait ? portraitSize : landscapeSize;
            const QImage below = texturedCanvas(frame.width, frame.height);
            QImage expected = below;
            paintTextLayer(expected, drawn, frame.height, usualCopies(drawn, frame.height));

            const QImage actual = composed(drawn, below);
            const QRectF whole(0, 0, frame.width, frame.height);
            const QRect box = layerRect(boxOf(drawn), whole).toAlignedRect();
            const double mean = meanDifference(actual, expected, box);
            QVERIFY2(meanDifference(expected, below, box) > 1, "the text leaves no trace");
            // The painter gives some fonts below 64 px (Korean here) a gamma that depends on what
            // lies below.
            QVERIFY2(mean < 0.3, qPrintable(u"mean difference %1"_s.arg(mean)));
            QVERIFY2(unchangedAround(actual, below, box), "the layer reaches far beyond its box");
        }
    }

    /// A wide outline leaves no gap, none is none, and a shadow is paler or further below.
    void outlineAndShadowHaveTheirStrength()
    {
        struct Row {
            std::int32_t outline;
            std::int32_t shadow;
            QList<double> corners; ///< of letters that have them at 3 pixels
            double sides;
            double below;
            int alpha;
        };
        for (const auto &[outline, shadow, corners, sides, below, alpha] :
            { Row { 100, 100, { 3 }, 0, 4.5, 200 },
                { 200, 200, { 3, 6 }, 8, 9, 200 },
                { 130, 0, { 3, 4 }, 6, 0, 0 },
                { 40, 50, { 1 }, 0, 4.5, 100 },
                { 1, 1, { 1 }, 0, 4.5, 2 },
                { 0, 150, {}, 0, 6.75, 200 },
                { 0, 0, {}, 0, 0, 0 } }) {
            const RowName named(QByteArray::number(outline) + ' ' + QByteArray::number(shadow));
            Copies copies;
            for (const double d : corners) {
                copies += { { { d, d }, 200 },
                    { { -d, d }, 200 },
                    { { d, -d }, 200 },
                    { { -d, -d }, 200 } };
            }
            if (sides > 0) {
                copies += { { { sides, 0 }, 200 },
                    { { -sides, 0 }, 200 },
                    { { 0, sides }, 200 },
                    { { 0, -sides }, 200 } };
            }
            copies += { { 0, below }, alpha };
            for (const Change &change :
                { size(56), Change(verse), subtitle("La más nueva.", 56) }) {
                Layer drawn = textLayer(spanish);
                change(drawn);
                drawn.background.setAlpha(0);
                drawn.outlineWidth = outline;
                drawn.shadowStrength = shadow;
                const QImage ground = texturedCanvas(landscapeSize.width, landscapeSize.height);
                QImage expected = ground;
                paintTextLayer(expected, drawn, landscapeSize.height, copies);
                const QImage actual = composed(drawn, ground);
                const double mean = meanDifference(actual, expected, ground.rect());
                QVERIFY2(mean < 0.05, qPrintable(u"mean difference %1"_s.arg(mean)));
            }
        }
    }

    void overlaysMatchThePainter()
    {
        const std::tuple<const char *, QString, bool, bool> rows[] {
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
            Composition composition;
            composition.scene = makeScene({}, { Layer {} });
            composition.size = frame;
            composition.isHall = isHall;
            composition.pictures = { toFrame(below.convertToFormat(QImage::Format_RGBX8888)) };
            composition.captions.phrases = { text }; // the hall's alone
            composition.title = text; // the streams' alone
            paintOverlay(expected, text, isHall);
            const QImage actual = Composer(std::make_shared<PaintCache>()).compose(composition);
            const double mean = meanDifference(actual, expected, actual.rect());
            QVERIFY(meanDifference(expected, below, actual.rect()) > 1);
            QVERIFY2(mean < 0.1, qPrintable(u"mean difference %1"_s.arg(mean)));
        }
    }
};

NIMBARA_TEST(TextReferenceTest)
#include "text_reference_test.moc"

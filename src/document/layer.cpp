#include "document/layer.h"

#include "base/i18n.h"

#include <QStringList>

#include <array>
#include <utility>

namespace nimbara {

using nimbara_i18n::tr;

namespace {

struct KindRow {
    const char *word;
    const char *name;
};
constexpr std::array<KindRow, 9> kindRows { {
    { "camera", "Cámara" },
    { "image", "Imagen" },
    { "text", "Texto" },
    { "video", "Video" },
    { "screen", "Pantalla" },
    { "color", "Color" },
    { "verse", "Versículo" },
    { "subtitle", "Subtítulos (IA)" },
    { "clock", "Reloj" },
} };

const KindRow *rowOf(LayerKind kind)
{
    const auto value = static_cast<std::int32_t>(kind);
    const bool known = value >= 0 && value < static_cast<std::int32_t>(kindRows.size());
    return known ? &kindRows.at(static_cast<std::size_t>(value)) : nullptr;
}

void setBox(Layer &layer, double x, double y, double w, double h)
{
    layer.x = x;
    layer.y = y;
    layer.w = w;
    layer.h = h;
}

} // namespace

LayerKind kindFromWord(const QString &word)
{
    for (std::size_t i = 0; i < kindRows.size(); ++i) {
        if (word == QLatin1String(kindRows.at(i).word)) {
            return static_cast<LayerKind>(i);
        }
    }
    return LayerKind::Camera;
}

QString wordOfKind(LayerKind kind)
{
    const KindRow *row = rowOf(kind);
    return QString::fromLatin1(row != nullptr ? row->word : kindRows[0].word);
}

QString displayName(LayerKind kind)
{
    const KindRow *row = rowOf(kind);
    return row != nullptr ? tr(row->name) : QString();
}

bool isPicture(LayerKind kind)
{
    return kind == LayerKind::Camera || kind == LayerKind::Image || kind == LayerKind::Video
        || kind == LayerKind::Screen;
}

bool hasSource(LayerKind kind)
{
    return kind == LayerKind::Video || kind == LayerKind::Screen;
}

bool hasLatency(const Layer &layer)
{
    static const QStringList schemes { QStringLiteral("rtsp"),
        QStringLiteral("rtsps"),
        QStringLiteral("srt") };
    return layer.kind == LayerKind::Video && schemes.contains(layer.uri.section(u':', 0, 0));
}

bool isText(LayerKind kind)
{
    return kind == LayerKind::Text || kind == LayerKind::Verse || kind == LayerKind::Subtitle
        || kind == LayerKind::Clock;
}

HorizontalAlign horizontalAlign(std::int32_t bits)
{
    if ((bits & align::right) != 0) {
        return HorizontalAlign::Right;
    }
    const bool centred = (bits & align::horizontalCentre) != 0;
    return centred ? HorizontalAlign::Centre : HorizontalAlign::Left;
}

std::int32_t withHorizontalAlign(std::int32_t bits, HorizontalAlign choice)
{
    const std::int32_t others = bits & ~align::horizontalMask;
    switch (choice) {
    case HorizontalAlign::Centre:
        return others | align::horizontalCentre;
    case HorizontalAlign::Right:
        return others | align::right;
    default:
        return others | align::left;
    }
}

Layer shownVerse(Layer layer)
{
    const bool hasBoth = !layer.text.isEmpty() && !layer.secondText.isEmpty();
    const bool showsSecond
        = layer.text.isEmpty() || (hasBoth && layer.shows == shown_bibles::second);
    if (showsSecond && !layer.secondText.isEmpty()) {
        layer.text = layer.secondText;
        layer.reference = layer.secondReference;
    }
    if (!hasBoth || layer.shows != shown_bibles::both) {
        layer.secondText.clear();
        layer.secondReference.clear();
        layer.arrangement = arrange::above;
    }
    layer.second.clear();
    layer.shows = shown_bibles::both;
    return layer;
}

Layer verseStyleOf(const Layer &layer)
{
    Layer bare;
    bare.id = {};
    bare.source = {};
    bare.kind = LayerKind::Verse;
    return styledAs(bare, layer);
}

Layer lookingAs(Layer layer, const Layer &look)
{
    layer.font = look.font;
    layer.size = look.size;
    layer.bold = look.bold;
    layer.color = look.color;
    layer.background = look.background;
    layer.align = look.align;
    layer.shadow = look.shadow;
    layer.outlineWidth = look.outlineWidth;
    layer.shadowStrength = look.shadowStrength;
    layer.spacing = look.spacing;
    layer.upperCase = look.upperCase;
    return layer;
}

Layer styledAs(Layer layer, const Layer &style)
{
    layer = lookingAs(std::move(layer), style);
    layer.paged = style.paged;
    layer.smallest = style.smallest;
    layer.numbers = style.numbers;
    layer.referencePlace = style.referencePlace;
    layer.second = style.second;
    layer.arrangement = style.arrangement;
    layer.shows = style.shows;
    return layer;
}

Layer newLayer(LayerKind kind)
{
    Layer layer;
    layer.kind = kind;
    switch (kind) {
    case LayerKind::Image:
        setBox(layer, 0.55, 0.05, 0.4, 0.4);
        break;
    case LayerKind::Text:
        setBox(layer, 0.08, 0.72, 0.84, 0.2);
        layer.text = tr("Texto nuevo");
        break;
    case LayerKind::Verse:
        setBox(layer, 0.08, 0.62, 0.84, 0.3);
        layer.size = 48;
        layer.text = tr("Escribe la cita en Propiedades, p. ej. Juan 3:16");
        break;
    case LayerKind::Subtitle:
        setBox(layer, 0.04, 0.78, 0.92, 0.16);
        layer.name = tr("Subtítulos (IA)");
        layer.size = 44;
        layer.background = QColor(0, 0, 0, 190);
        break;
    case LayerKind::Clock:
        setBox(layer, 0.7, 0.05, 0.25, 0.14);
        layer.size = 96;
        break;
    default:
        break;
    }
    return layer;
}

} // namespace nimbara

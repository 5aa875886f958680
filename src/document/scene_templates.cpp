#include "document/scene_templates.h"

#include "base/i18n.h"
#include "document/layer_geometry.h"

#include <QColor>

#include <algorithm>
#include <utility>

namespace nimbara {

using nimbara_i18n::tr;

namespace {

const QColor ground(8, 24, 48);
const QColor band(12, 48, 88);
const QColor accent(101, 176, 237);
const QColor noBox(0, 0, 0, 0);
constexpr std::int32_t middle = align::horizontalCentre | align::verticalCentre;
constexpr std::int32_t leftMiddle = align::left | align::verticalCentre;

/// A place in a wide frame and in a tall one, with the size of its letters there.
struct Spot {
    Box wide;
    Box tall;
    std::int32_t wideSize = 0;
    std::int32_t tallSize = 0;
};

/// Makes the layers of one scene, rear layer first.
class Drawing {
public:
    Drawing(SceneSet set, FrameSize frame, const std::optional<Layer> &verseStyle)
        : m_isHall(set == SceneSet::Hall)
        , m_isTall(frame.height > frame.width)
        , m_verseStyle(verseStyle)
    {
    }

    void addGround()
    {
        Layer layer = newLayer(LayerKind::Color);
        layer.name = tr("Fondo");
        layer.fill = ground;
        m_layers.push_back(layer);
    }
    /// The camera fills the streams; the hall sees the room itself.
    void addCamera()
    {
        if (m_isHall) {
            addGround();
            return;
        }
        Layer layer = newLayer(LayerKind::Camera);
        layer.name = tr("Cámara");
        layer.cover = true;
        m_layers.push_back(layer);
    }
    void addColor(const char *name, const QColor &fill, const Spot &spot)
    {
        m_layers.push_back(placed(newLayer(LayerKind::Color), name, spot));
        m_layers.back().fill = fill;
    }
    Layer &addText(const char *name, const char *text, const Spot &spot, std::int32_t align)
    {
        Layer &layer = addWords(newLayer(LayerKind::Text), name, spot, align);
        layer.text = tr(text);
        return layer;
    }
    Layer &addClock(const char *name, const Spot &spot, std::int32_t align)
    {
        return addWords(newLayer(LayerKind::Clock), name, spot, align);
    }
    void addVerse(const QColor &box, const Spot &spot, std::int32_t align)
    {
        Layer &layer = addWords(newLayer(LayerKind::Verse), "Versículo", spot, align);
        layer.background = box;
        if (m_verseStyle) {
            layer = styledAs(layer, *m_verseStyle);
        }
    }
    void addSubtitles(const QColor &box, const Spot &spot, std::int32_t align)
    {
        addWords(newLayer(LayerKind::Subtitle), "Subtítulos (IA)", spot, align).background = box;
    }
    std::vector<Layer> take() { return std::move(m_layers); }

private:
    [[nodiscard]] Layer placed(Layer layer, const char *name, const Spot &spot) const
    {
        layer.name = tr(name);
        setBox(layer, m_isTall ? spot.tall : spot.wide);
        return layer;
    }
    Layer &addWords(const Layer &plain, const char *name, const Spot &spot, std::int32_t align)
    {
        Layer &layer = m_layers.emplace_back(placed(plain, name, spot));
        layer.size = m_isTall ? spot.tallSize : spot.wideSize;
        layer.background = noBox;
        layer.align = align;
        return layer;
    }

    bool m_isHall;
    bool m_isTall;
    const std::optional<Layer> &m_verseStyle;
    std::vector<Layer> m_layers;
};

void drawTitle(Drawing &scene)
{
    scene.addCamera();
    scene.addColor("Cinta", band, { { 0.05, 0.74, 0.9, 0.18 }, { 0.05, 0.66, 0.9, 0.16 } });
    scene.addColor("Adorno", accent, { { 0.05, 0.74, 0.008, 0.18 }, { 0.05, 0.66, 0.015, 0.16 } });
    scene.addText("Título",
        "Título",
        { { 0.07, 0.745, 0.86, 0.1 }, { 0.08, 0.665, 0.84, 0.085 }, 64, 48 },
        leftMiddle);
    scene
        .addText("Nombre",
            "Nombre o cita",
            { { 0.07, 0.84, 0.86, 0.075 }, { 0.08, 0.745, 0.84, 0.07 }, 44, 44 },
            leftMiddle)
        .bold
        = false;
}

void drawVerse(Drawing &scene)
{
    scene.addGround();
    scene.addColor("Adorno", accent, { { 0.08, 0.07, 0.84, 0.006 }, { 0.08, 0.12, 0.84, 0.004 } });
    scene.addVerse(noBox, { { 0.08, 0.1, 0.84, 0.8 }, { 0.06, 0.15, 0.88, 0.7 }, 72, 52 }, middle);
}

void drawVerseLowerThird(Drawing &scene)
{
    scene.addCamera();
    scene.addVerse(QColor(8, 24, 48, 215),
        { { 0.05, 0.66, 0.9, 0.28 }, { 0.05, 0.58, 0.9, 0.3 }, 52, 44 },
        leftMiddle);
}

void drawHallSubtitles(Drawing &scene)
{
    scene.addGround();
    scene.addSubtitles(noBox,
        { { 0.05, 0.08, 0.9, 0.84 }, { 0.05, 0.1, 0.9, 0.8 }, 72, 48 },
        align::left | align::top);
}

void drawStreamSubtitles(Drawing &scene)
{
    scene.addCamera();
    scene.addSubtitles(QColor(0, 0, 0, 190),
        { { 0.04, 0.76, 0.92, 0.19 }, { 0.05, 0.64, 0.9, 0.24 }, 48, 44 },
        middle);
}

void drawCountdown(Drawing &scene)
{
    scene.addGround();
    scene.addText("Texto",
        "Empezamos en",
        { { 0.1, 0.18, 0.8, 0.18 }, { 0.05, 0.28, 0.9, 0.1 }, 88, 56 },
        middle);
    scene
        .addClock("Cuenta atrás",
            { { 0.1, 0.36, 0.8, 0.36 }, { 0.05, 0.38, 0.9, 0.18 }, 260, 130 },
            middle)
        .clockShows
        = clock_shows::duration;
    scene.addColor("Adorno", accent, { { 0.35, 0.75, 0.3, 0.008 }, { 0.25, 0.57, 0.5, 0.004 } });
}

void drawWelcome(Drawing &scene)
{
    scene.addGround();
    scene.addText("Título",
        "Bienvenidos",
        { { 0.1, 0.32, 0.8, 0.2 }, { 0.05, 0.37, 0.9, 0.11 }, 140, 70 },
        middle);
    scene.addColor("Adorno", accent, { { 0.35, 0.53, 0.3, 0.008 }, { 0.25, 0.485, 0.5, 0.004 } });
    scene
        .addText("Texto",
            "Nos alegra que estés aquí",
            { { 0.1, 0.56, 0.8, 0.13 }, { 0.05, 0.5, 0.9, 0.14 }, 60, 44 },
            middle)
        .bold
        = false;
    scene.addClock("Hora",
        { { 0.74, 0.05, 0.22, 0.12 }, { 0.5, 0.06, 0.44, 0.08 }, 64, 44 },
        align::right | align::verticalCentre);
}

struct Row {
    const char *name;
    const char *scene; ///< what the scene is called, in few letters
    void (*draw)(Drawing &scene);
};

/// In the order of `SceneTemplate`.
const Row &rowOf(SceneTemplate which)
{
    static constexpr std::array rows {
        Row { "Título y cinta inferior", "Título", drawTitle },
        Row { "Versículo a pantalla completa", "Versículo", drawVerse },
        Row { "Versículo en la parte inferior", "Versículo abajo", drawVerseLowerThird },
        Row { "Subtítulos para la sala", "Subtítulos", drawHallSubtitles },
        Row { "Subtítulos para la transmisión", "Subtítulos abajo", drawStreamSubtitles },
        Row { "Cuenta atrás", "Cuenta atrás", drawCountdown },
        Row { "Bienvenida", "Bienvenida", drawWelcome },
    };
    return rows.at(static_cast<std::size_t>(which));
}

QString freeName(const Scenes &scenes, const QString &name)
{
    const auto isTaken = [&scenes](const QString &wanted) {
        return std::any_of(scenes.begin(), scenes.end(), [&wanted](const ScenePtr &scene) {
            return scene->name == wanted;
        });
    };
    QString free = name;
    for (int number = 2; isTaken(free); ++number) {
        free = name + QLatin1Char(' ') + QString::number(number);
    }
    return free;
}

bool isCountdown(const Layer &layer)
{
    return layer.kind == LayerKind::Clock && layer.clockShows == clock_shows::duration;
}

/// The first countdown of a length that the project has; none without.
const Layer *firstCountdown(const SceneSets &scenes)
{
    for (const SceneSet set : bothSets) {
        for (const ScenePtr &scene : scenes.of(set)) {
            const auto found
                = std::find_if(scene->layers.begin(), scene->layers.end(), isCountdown);
            if (found != scene->layers.end()) {
                return &*found;
            }
        }
    }
    return nullptr;
}

/// Hall and streams count down together: one start serves both.
void shareCountdown(std::vector<Layer> &layers, const SceneSets &scenes)
{
    const Layer *other = firstCountdown(scenes);
    for (Layer &layer : layers) {
        if (other != nullptr && isCountdown(layer)) {
            layer.source = other->source;
            layer.duration = other->duration;
        }
    }
}

} // namespace

const char *nameOf(SceneTemplate which)
{
    return rowOf(which).name;
}

Scene templateScene(SceneTemplate which,
    const SceneSets &scenes,
    SceneSet set,
    FrameSize frame,
    const std::optional<Layer> &verseStyle)
{
    Drawing drawing(set, frame, verseStyle);
    rowOf(which).draw(drawing);
    Scene scene;
    scene.name = freeName(scenes.of(set), tr(rowOf(which).scene));
    scene.layers = drawing.take();
    shareCountdown(scene.layers, scenes);
    return scene;
}

} // namespace nimbara

#include "bench.h"
#include "document/canvas_geometry.h"
#include "document/edits.h"
#include "support/scenes.h"
#include "ui/clip_files.h"
#include "ui/editor/canvas.h"
#include "ui/watched_window.h"

#include <QApplication>
#include <QMouseEvent>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <string>

namespace {

using namespace nimbara;
using namespace nimbara::bench;
using namespace std::chrono_literals;

constexpr int movesPerSecond = 60;
constexpr int dragSeconds = 10;

/// A picture that no compression and no cache makes easy.
FramePtr photo(int width, int height, bool opaque)
{
    auto frame = std::make_shared<Frame>(width, height);
    frame->opaque = opaque;
    for (std::size_t i = 0; i < frame->pixels.size(); ++i) {
        const bool alpha = i % 4 == 3;
        frame->pixels[i] = alpha ? (opaque ? 255 : 180) : static_cast<std::uint8_t>(i * i / 977);
    }
    return frame;
}

Layer layerAt(Layer layer, int place)
{
    layer.x = 0.04 * (place % 12);
    layer.y = 0.06 * (place % 9);
    layer.w = layer.h = 0.3;
    return layer;
}

/// Twenty layers of all eight kinds. The front ones are a text and a photo, to be dragged.
std::vector<Layer> twentyLayers(Studio &studio, const QString &clip)
{
    const auto photoLayer = [&studio](const char *name, int width, int height, bool opaque) {
        const QString path = QString::fromLatin1(name) + QString::number(width);
        studio.sources().shelf().put(path, photo(width, height, opaque));
        return imageLayer(path, { width, height }, studio.stage().streamFrame());
    };
    std::vector<Layer> layers { newLayer(LayerKind::Camera) };
    const auto add = [&layers](Layer layer) {
        layers.push_back(layerAt(std::move(layer), static_cast<int>(layers.size())));
    };
    add(newLayer(LayerKind::Screen));
    add(videoLayer(clip));
    for (int i = 0; i < 5; ++i) {
        add(photoLayer("foto", 1600 + i, 1200, i % 2 == 0));
        Layer color = newLayer(LayerKind::Color);
        color.opacity = 0.5;
        add(color);
        Layer text = newLayer(i % 2 == 0 ? LayerKind::Text : LayerKind::Verse);
        text.text = QStringLiteral("Canten al Señor un cántico nuevo %1").arg(i);
        add(text);
    }
    add(newLayer(LayerKind::Subtitle));
    add(photoLayer("grande", 4000, 3000, true));
    return layers;
}

/// Counts what arrives at the canvas.
class MoveCounter : public QObject {
public:
    int moves = 0;

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        moves += event->type() == QEvent::MouseMove ? 1 : 0;
        return false;
    }
};

/// Pointer moves on a circle as a pointing device makes them, through the X server.
QByteArray circle(QPoint from, int radius)
{
    const int moves = movesPerSecond * dragSeconds;
    QByteArray script = QStringLiteral("mousemove %1 %2\nsleep 0.3\nmousedown 1\n")
                            .arg(from.x())
                            .arg(from.y())
                            .toLatin1();
    for (int i = 1; i <= moves; ++i) {
        const double angle = 2 * M_PI * i / (2.2 * movesPerSecond); // ends elsewhere than it began
        script += QStringLiteral("mousemove %1 %2\nsleep 0.0165\n")
                      .arg(from.x() + qRound(radius * std::sin(angle)))
                      .arg(from.y() + qRound(radius * (1 - std::cos(angle)) / 2))
                      .toLatin1();
    }
    return script + "mouseup 1\n";
}

/// Drags the selected layers by what lies at a place of the current one's box and tells the
/// figures.
std::string
drag(WatchedWindow &window, const char *name, const LayerSelection &dragged, double x, double y)
{
    auto *canvas = window.window().findChild<Canvas *>(QStringLiteral("canvas"));
    canvas->setSelection(dragged);
    const LayerId layer = dragged.current();
    const Box before = boxOf(*findLayer(*canvas->scene(), layer));
    const QRectF area = frameRect(canvas->size(), 16.0 / 9);
    const QRectF shown = layerRect(before, area);
    const QPointF from(shown.x() + x * shown.width(), shown.y() + y * shown.height());
    MoveCounter counter;
    canvas->installEventFilter(&counter);
    QProcess pointer;
    pointer.start(QStringLiteral("xdotool"), { QStringLiteral("-") });
    pointer.write(circle(canvas->mapToGlobal(from.toPoint()), 60));
    pointer.closeWriteChannel();
    const auto figures
        = window.runUntil([&pointer] { return pointer.state() == QProcess::NotRunning; }, 60s);
    canvas->removeEventFilter(&counter);
    const bool moved = boxOf(*findLayer(*canvas->scene(), layer)) != before;
    std::string told(name);
    told.append(": ").append(figures.text()).append(", ");
    told.append(std::to_string(counter.moves)).append(" moves");
    return told.append(moved ? "\t" : " MOVED NOTHING\t");
}

/// What it costs to select a layer, its properties with it: the first time and the next.
std::string select(WatchedWindow &window, const char *name, LayerId layer)
{
    auto *canvas = window.window().findChild<Canvas *>(QStringLiteral("canvas"));
    std::array<double, 2> costs {};
    for (double &cost : costs) {
        canvas->setSelected(canvas->scene()->layers[0].id);
        window.runFor(300ms);
        cost = threadMs([&] { canvas->setSelected(layer); });
        cost = std::max(cost, window.runFor(300ms).turn);
    }
    std::array<char, 80> text {};
    std::snprintf(text.data(),
        text.size(),
        "%s selected: %.1f ms, again %.1f ms\t",
        name,
        costs[0],
        costs[1]);
    return text.data();
}

/// A scene of twenty layers in the real window while the operator drags one of them, and all at
/// once.
std::string tellDrag()
{
    if (QGuiApplication::platformName() != QLatin1String("xcb")) {
        return "needs a display: QT_QPA_PLATFORM=xcb xvfb-run -s '-screen 0 1920x1080x24'";
    }
    const QTemporaryDir home;
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, home.path());
    const ClipFiles clips(1, 60);
    WatchedWindow window;
    Document &document = window.studio().document();
    testing::setLayers(document, twentyLayers(window.studio(), clips.locations().front()));
    const std::vector<Layer> layers = document.currentScene()->layers;
    const LayerId front = layers.back().id;
    const LayerId words = layers[layers.size() - 3].id;
    window.window().findChild<Canvas *>(QStringLiteral("canvas"))->setSelected(front);
    std::string told = std::to_string(layers.size()) + " layers\t";
    window.runFor(2s);
    told.append("still: ").append(window.runFor(5s).text()).append("\t");
    told += select(window, "photo", front) + select(window, "text", words);
    told += drag(window, "text moved", LayerSelection(words), 0.5, 0.5);
    told += drag(window, "photo moved", LayerSelection(front), 0.7, 0.7);
    told += drag(window, "photo resized", LayerSelection(front), 1, 1);
    LayerIds all;
    for (const Layer &layer : layers) {
        all.push_back(layer.id);
    }
    told += drag(window, "all moved", LayerSelection(all), 0.5, 0.5);
    return told;
}

} // namespace

NIMBARA_BENCH_CASE("drag", tellDrag)

#include "bench.h"
#include "ui/editor/scene_tiles.h"
#include "ui/kit/style.h"
#include "ui/outputs/audio_tab.h"
#include "ui/outputs/hall_screen.h"
#include "ui/shell/monitors.h"

#include <QApplication>
#include <QScreen>

#include <cstdio>
#include <ctime>
#include <functional>
#include <string>

namespace {

using namespace nimbara;
using namespace nimbara::bench;

/// CPU of the whole process: the platform's own threads count.
double cpuMs()
{
    timespec time {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1000 + static_cast<double>(time.tv_nsec) / 1e6;
}

/// The mean CPU of handing over one frame and painting it; `show` gets the frame's number.
double perFrame(const std::function<void(int)> &show)
{
    constexpr int frames = 120;
    constexpr int warmUp = 10;
    double start = 0;
    for (int i = 0; i < frames + warmUp; ++i) {
        if (i == warmUp) {
            start = cpuMs();
        }
        show(i);
        QCoreApplication::processEvents();
    }
    return (cpuMs() - start) / frames;
}

/// Two pictures in the format of the composed ones, shown in turn.
QImage picture(int number)
{
    static const auto made = [](const QColor &from) {
        QImage image(1920, 1080, QImage::Format_RGBX8888);
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                image.setPixelColor(x, y, QColor((from.red() + x) % 256, y % 256, from.blue()));
            }
        }
        return image;
    };
    static const QImage pictures[] { made(Qt::red), made(Qt::blue) };
    return pictures[number % 2];
}

/// Nine scenes, of which one has another picture at each frame: as often as they ever have.
double tilesMs()
{
    Scenes scenes;
    for (int i = 0; i < 9; ++i) {
        scenes.push_back(std::make_shared<const Scene>(defaultScene(false)));
    }
    const QImage small[] { picture(0).scaled(320, 180), picture(1).scaled(320, 180) };
    const KeyMap keys;
    SceneTiles tiles(keys);
    tiles.resize(1280, tiles.height());
    tiles.showScenes(scenes, scenes.front()->id);
    tiles.show();
    return perFrame([&](int i) {
        tiles.showPicture(scenes[static_cast<std::size_t>(i) % 9]->id, small[i % 2]);
    });
}

/// What the window's parts cost on top of composing: the three monitors at the window's usual
/// size, the tiles, the meters, and the hall window on a 1920 × 1080 screen.
std::string tellWindow()
{
    qApp->setStyleSheet(applicationStyleSheet());
    Monitors monitors;
    monitors.resize(1280, 330);
    monitors.show();
    const double monitorsMs = perFrame([&](int i) {
        monitors.canvas()->setFrame(picture(i));
        monitors.streams()->setFrame(picture(i));
        monitors.hall()->setFrame(picture(i));
    });
    monitors.hide();
    const double tiles = tilesMs();
    AudioTab audio;
    audio.resize(1280, 290);
    audio.show();
    const double metersMs = perFrame([&](int i) { audio.showLevels(i * 7 % 101, i * 5 % 101); });
    audio.hide();
    HallScreen hall;
    hall.showOn(*QGuiApplication::primaryScreen());
    hall.setGeometry(0, 0, 1920, 1080);
    const double hallMs = perFrame([&](int i) { hall.setFrame(picture(i)); });
    char text[192];
    std::snprintf(text,
        sizeof text,
        "CPU per frame\tmonitors %.2f ms\ttiles %.2f ms\tmeters %.2f ms\thall %.2f ms\t"
        "together %.2f ms",
        monitorsMs,
        tiles,
        metersMs,
        hallMs,
        monitorsMs + tiles + metersMs + hallMs);
    return text;
}

} // namespace

NIMBARA_BENCH_CASE("window", tellWindow)

#include "studio/moving_camera.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <numbers>
#include <random>
#include <vector>

namespace nimbara::bench {

namespace {

constexpr int width = 1920;
constexpr int height = 1080;
constexpr int frames = 60;
constexpr int reach = 240; // pixels that the figure walks to either side
constexpr int figureWidth = 480;
constexpr int figureTop = 240;

/// Random heights `spacing` pixels apart with slopes between them, added to the scene.
void addShapes(std::vector<float> &scene, int spacing, float most, std::mt19937 &random)
{
    const int columns = width / spacing + 2;
    const int rows = height / spacing + 2;
    std::uniform_real_distribution<float> any(-most, most);
    std::vector<float> heights(static_cast<std::size_t>(columns * rows));
    std::generate(heights.begin(), heights.end(), [&] { return any(random); });
    for (int y = 0; y < height; ++y) {
        const float *above = heights.data() + y / spacing * columns;
        const float *below = above + columns;
        const float down = static_cast<float>(y % spacing) / static_cast<float>(spacing);
        for (int x = 0; x < width; ++x) {
            const int left = x / spacing;
            const float right = static_cast<float>(x % spacing) / static_cast<float>(spacing);
            const float top = std::lerp(above[left], above[left + 1], right);
            const float bottom = std::lerp(below[left], below[left + 1], right);
            scene[static_cast<std::size_t>(y * width + x)] += std::lerp(top, bottom, down);
        }
    }
}

std::vector<float> makeScene(std::mt19937 &random)
{
    std::vector<float> scene(static_cast<std::size_t>(width * height), 118);
    addShapes(scene, 160, 60, random);
    addShapes(scene, 40, 20, random);
    addShapes(scene, 6, 6, random);
    return scene;
}

/// The scene at the place, or the figure that walks in front of it.
float lumaAt(const std::vector<float> &scene, int x, int y, int figureLeft)
{
    const bool isFigure = y >= figureTop && x >= figureLeft && x < figureLeft + figureWidth;
    const int from = isFigure ? x - figureLeft + 900 : x;
    return scene[static_cast<std::size_t>(y * width + from)] + (isFigure ? 40.0F : 0.0F);
}

} // namespace

std::string movingCamera(const QString &folder)
{
    std::mt19937 random(7);
    const std::vector<float> scene = makeScene(random);
    std::normal_distribution<float> noise(0, 0.5F);
    std::vector<float> grain(1U << 16U);
    std::generate(grain.begin(), grain.end(), [&] { return noise(random); });
    const std::string path = folder.toStdString() + "/camera.yuy2";
    std::ofstream file(path, std::ios::binary);
    std::vector<std::uint8_t> row(width * 2);
    for (int frame = 0; frame < frames; ++frame) {
        const double turn = 2 * std::numbers::pi * frame / frames;
        const int figureLeft
            = (width - figureWidth) / 2 + static_cast<int>(std::lround(reach * std::sin(turn)));
        for (int y = 0; y < height; ++y) {
            std::size_t grainAt = random() % grain.size();
            for (int x = 0; x < width; ++x) {
                grainAt = (grainAt + 1) % grain.size();
                const float luma = lumaAt(scene, x, y, figureLeft);
                const float shade = lumaAt(scene, x & ~1, y, figureLeft) - 118;
                row[static_cast<std::size_t>(2 * x)]
                    = static_cast<std::uint8_t>(std::clamp(luma + grain[grainAt], 16.0F, 235.0F));
                row[static_cast<std::size_t>(2 * x + 1)] = static_cast<std::uint8_t>(
                    std::clamp(128 + shade * (x % 2 == 0 ? 0.2F : -0.25F), 16.0F, 240.0F));
            }
            file.write(reinterpret_cast<const char *>(row.data()), // NOLINT: bytes as they are
                static_cast<std::streamsize>(row.size()));
        }
    }
    return "multifilesrc loop=true location=" + path
        + " ! rawvideoparse format=yuy2 width=1920 height=1080 framerate=30/1 ! "
          "capsfilter caps=video/x-raw,format=YUY2 ! clocksync";
}

} // namespace nimbara::bench

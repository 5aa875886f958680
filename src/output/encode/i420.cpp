#include "output/encode/i420.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

// Loops without branches over plain arrays, for the compiler to vectorise.

#if defined(__x86_64__) && defined(__GNUC__)
#define NIMBARA_WIDE __attribute__((target("avx2")))
#define NIMBARA_HAS_WIDE 1
#else
#define NIMBARA_HAS_WIDE 0
#endif
#define NIMBARA_INLINE __attribute__((always_inline)) inline

namespace nimbara {

namespace {

constexpr int shift = 13; // of the weights
constexpr int sumShift = 3; // a chroma sample is made of eight parts

/// Weights of red, green and blue, scaled by 2^shift.
struct Weights {
    std::int32_t red = 0;
    std::int32_t green = 0;
    std::int32_t blue = 0;
};

struct Matrix {
    Weights luma;
    Weights blueDifference;
    Weights redDifference;
};

std::int32_t scaled(double weight)
{
    return static_cast<std::int32_t>(std::lround(weight * (1 << shift)));
}

/// Studio range: 219 steps of luma, 112 of chroma to either side (ITU-R BT.601, BT.709).
Matrix matrixOf(GstVideoColorMatrix colours)
{
    double red = 0;
    double blue = 0;
    gst_video_color_matrix_get_Kr_Kb(colours, &red, &blue);
    const double green = 1 - red - blue;
    const double y = 219.0 / 255;
    const double b = 112.0 / 255 / (1 - blue);
    const double r = 112.0 / 255 / (1 - red);
    return { { scaled(y * red), scaled(y * green), scaled(y * blue) },
        { scaled(-b * red), scaled(-b * green), scaled(b * (1 - blue)) },
        { scaled(r * (1 - red)), scaled(-r * green), scaled(-r * blue) } };
}

/// Red and blue in one word, green in another, each summed over two rows; with one pixel more at
/// either end.
struct Sums {
    explicit Sums(std::int32_t width)
        : redBlue(static_cast<std::size_t>(width) + 2)
        , green(redBlue.size())
    {
    }
    std::vector<std::uint32_t> redBlue;
    std::vector<std::uint32_t> green;
};

NIMBARA_INLINE void lumaRow(const std::uint32_t *__restrict row,
    std::uint8_t *__restrict luma,
    std::int32_t width,
    const Weights &weights)
{
    const Weights w = weights;
    constexpr std::int32_t base = (16 << shift) + (1 << (shift - 1));
    for (std::int32_t x = 0; x < width; ++x) {
        const std::uint32_t pixel = row[x];
        const auto red = static_cast<std::int32_t>(pixel & 255U);
        const auto green = static_cast<std::int32_t>((pixel >> 8U) & 255U);
        const auto blue = static_cast<std::int32_t>((pixel >> 16U) & 255U);
        luma[x] = static_cast<std::uint8_t>(
            (w.red * red + w.green * green + w.blue * blue + base) >> shift);
    }
}

NIMBARA_INLINE void sumRows(const std::uint32_t *__restrict above,
    const std::uint32_t *__restrict below,
    std::uint32_t *__restrict redBlue,
    std::uint32_t *__restrict green,
    std::int32_t width)
{
    constexpr std::uint32_t both = 0x00FF00FF;
    for (std::int32_t x = 0; x < width; ++x) {
        redBlue[x + 1] = (above[x] & both) + (below[x] & both);
        green[x + 1] = ((above[x] >> 8U) & 255U) + ((below[x] >> 8U) & 255U);
    }
    redBlue[0] = redBlue[1];
    green[0] = green[1];
    redBlue[width + 1] = redBlue[width];
    green[width + 1] = green[width];
}

NIMBARA_INLINE std::uint8_t
chromaOf(const Weights &w, std::int32_t red, std::int32_t green, std::int32_t blue)
{
    constexpr int all = shift + sumShift;
    constexpr std::int32_t base = (128 << all) + (1 << (all - 1));
    return static_cast<std::uint8_t>((w.red * red + w.green * green + w.blue * blue + base) >> all);
}

/// One part left, two at the place, one right.
NIMBARA_INLINE void chromaRow(const std::uint32_t *__restrict redBlue,
    const std::uint32_t *__restrict green,
    std::uint8_t *__restrict u,
    std::uint8_t *__restrict v,
    std::int32_t width,
    const Matrix &matrix)
{
    const Weights forU = matrix.blueDifference;
    const Weights forV = matrix.redDifference;
    for (std::int32_t x = 0; x < width; ++x) {
        const std::ptrdiff_t at = std::ptrdiff_t { 2 } * x;
        const std::uint32_t sum = redBlue[at] + 2 * redBlue[at + 1] + redBlue[at + 2];
        const auto g = static_cast<std::int32_t>(green[at] + 2 * green[at + 1] + green[at + 2]);
        const auto r = static_cast<std::int32_t>(sum & 0xFFFFU);
        const auto b = static_cast<std::int32_t>(sum >> 16U);
        u[x] = chromaOf(forU, r, g, b);
        v[x] = chromaOf(forV, r, g, b);
    }
}

struct Plane {
    std::uint8_t *data = nullptr;
    std::ptrdiff_t stride = 0;
    [[nodiscard]] std::uint8_t *row(std::int32_t y) const { return data + y * stride; }
};

struct Job {
    const Frame &frame;
    Matrix matrix;
    Plane y {};
    Plane u {};
    Plane v {};
};

NIMBARA_INLINE void convertAll(const Job &job)
{
    const std::int32_t width = job.frame.width;
    const std::int32_t height = job.frame.height;
    const auto *pixels = reinterpret_cast<const std::uint32_t *>( // NOLINT: RGBA, little end first
        job.frame.pixels.data());
    Sums sums(width);
    for (std::int32_t y = 0; y < height; y += 2) {
        const std::uint32_t *above = pixels + std::ptrdiff_t { y } * width;
        const std::uint32_t *below = y + 1 < height ? above + width : above;
        lumaRow(above, job.y.row(y), width, job.matrix.luma);
        if (y + 1 < height) {
            lumaRow(below, job.y.row(y + 1), width, job.matrix.luma);
        }
        sumRows(above, below, sums.redBlue.data(), sums.green.data(), width);
        chromaRow(sums.redBlue.data(),
            sums.green.data(),
            job.u.row(y / 2),
            job.v.row(y / 2),
            (width + 1) / 2,
            job.matrix);
    }
}

void convertPlainly(const Job &job)
{
    convertAll(job);
}

#if NIMBARA_HAS_WIDE
NIMBARA_WIDE void convertWide(const Job &job)
{
    convertAll(job);
}
#endif

Plane planeOf(GstVideoFrame &frame, guint component)
{
    return { static_cast<std::uint8_t *>(GST_VIDEO_FRAME_COMP_DATA(&frame, component)),
        GST_VIDEO_FRAME_COMP_STRIDE(&frame, component) };
}

} // namespace

void convertToI420(const Frame &frame, GstVideoFrame &to)
{
    const Job job { frame,
        matrixOf(to.info.colorimetry.matrix),
        planeOf(to, GST_VIDEO_COMP_Y),
        planeOf(to, GST_VIDEO_COMP_U),
        planeOf(to, GST_VIDEO_COMP_V) };
#if NIMBARA_HAS_WIDE
    if (__builtin_cpu_supports("avx2") != 0) {
        convertWide(job);
        return;
    }
#endif
    convertPlainly(job);
}

} // namespace nimbara

#include "media/sources/rgba_conversion.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
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

constexpr int sampleShift = 7; // of a sample, which fills 16 bits so
constexpr int weightShift = 13; // weights up to 4
constexpr int sumShift = sampleShift + weightShift - 16; // of the upper halves of their products

/// What a step of luma and of the chroma samples adds to each colour, scaled by 2^weightShift.
struct Weights {
    std::int16_t base = 0; ///< black's luma
    std::int16_t luma = 0;
    std::int16_t redOfV = 0;
    std::int16_t greenOfU = 0;
    std::int16_t greenOfV = 0;
    std::int16_t blueOfU = 0;
};

std::int16_t scaled(double weight)
{
    return static_cast<std::int16_t>(std::lround(weight * (1 << weightShift)));
}

bool isFull(const GstVideoInfo &info)
{
    return info.colorimetry.range == GST_VIDEO_COLOR_RANGE_0_255;
}

/// ITU-R BT.601 and BT.709: 219 steps of luma and 224 of chroma in studio range.
Weights weightsOf(const GstVideoInfo &info)
{
    double red = 0;
    double blue = 0;
    gst_video_color_matrix_get_Kr_Kb(info.colorimetry.matrix, &red, &blue);
    const double green = 1 - red - blue;
    const double luma = isFull(info) ? 1 : 255.0 / 219;
    const double chroma = isFull(info) ? 1 : 255.0 / 224;
    const double ofV = 2 * (1 - red) * chroma;
    const double ofU = 2 * (1 - blue) * chroma;
    return { static_cast<std::int16_t>(isFull(info) ? 0 : 16),
        scaled(luma),
        scaled(ofV),
        scaled(-ofU * blue / green),
        scaled(-ofV * red / green),
        scaled(ofU) };
}

using Bytes = const std::uint8_t *__restrict;
using Samples = const std::int16_t *__restrict;
using MadeSamples = std::int16_t *__restrict;

/// Rows of one line of the picture: luma as it is, chroma around 0 and scaled by 2^sampleShift,
/// with one sample more at either end of the rows of half width. Mixing loses nothing so.
struct Line {
    explicit Line(std::int32_t width)
        : half((width + 1) / 2)
        , luma(static_cast<std::size_t>(half) * 2)
        , halfU(static_cast<std::size_t>(half) + 2)
        , halfV(halfU.size())
        , u(luma.size())
        , v(luma.size())
    {
    }
    std::int32_t half;
    std::vector<std::uint8_t> luma;
    std::vector<std::int16_t> halfU;
    std::vector<std::int16_t> halfV;
    std::vector<std::int16_t> u;
    std::vector<std::int16_t> v;
};

NIMBARA_INLINE std::int16_t sampleOf(std::int32_t chroma)
{
    return static_cast<std::int16_t>((chroma - 128) * (1 << sampleShift));
}

/// Three parts of the row that the line lies in, one of the next.
NIMBARA_INLINE std::int16_t sampleOf(std::int32_t near, std::int32_t far)
{
    return static_cast<std::int16_t>((3 * near + far - 4 * 128) * (1 << (sampleShift - 2)));
}

NIMBARA_INLINE void readPacked(Bytes packed,
    std::uint8_t *__restrict luma,
    MadeSamples u,
    MadeSamples v,
    std::int32_t half)
{
    for (std::ptrdiff_t x = 0; x < half; ++x) {
        luma[2 * x] = packed[4 * x];
        u[x] = sampleOf(packed[4 * x + 1]);
        luma[2 * x + 1] = packed[4 * x + 2];
        v[x] = sampleOf(packed[4 * x + 3]);
    }
}

NIMBARA_INLINE void readRow(Bytes row, MadeSamples read, std::int32_t half)
{
    for (std::ptrdiff_t x = 0; x < half; ++x) {
        read[x] = sampleOf(row[x]);
    }
}

NIMBARA_INLINE void readRows(Bytes near, Bytes far, MadeSamples read, std::int32_t half)
{
    for (std::ptrdiff_t x = 0; x < half; ++x) {
        read[x] = sampleOf(near[x], far[x]);
    }
}

NIMBARA_INLINE void
readPairs(Bytes near, Bytes far, MadeSamples u, MadeSamples v, std::int32_t half)
{
    for (std::ptrdiff_t x = 0; x < half; ++x) {
        u[x] = sampleOf(near[2 * x], far[2 * x]);
        v[x] = sampleOf(near[2 * x + 1], far[2 * x + 1]);
    }
}

NIMBARA_INLINE std::int16_t between(std::int16_t one, std::int16_t other, int shift)
{
    return static_cast<std::int16_t>(one + (static_cast<std::int16_t>(other - one) >> shift));
}

/// `samples`: with one more at either end. `cosited`: they stand at even places, else between.
NIMBARA_INLINE void
spreadRow(std::int16_t *samples, MadeSamples spread, std::int32_t half, bool cosited)
{
    samples[0] = samples[1];
    samples[half + 1] = samples[half];
    Samples from = samples + 1;
    if (cosited) {
        for (std::ptrdiff_t x = 0; x < half; ++x) {
            spread[2 * x] = from[x];
            spread[2 * x + 1] = between(from[x], from[x + 1], 1);
        }
    } else {
        for (std::ptrdiff_t x = 0; x < half; ++x) {
            spread[2 * x] = between(from[x], from[x - 1], 2);
            spread[2 * x + 1] = between(from[x], from[x + 1], 2);
        }
    }
}

NIMBARA_INLINE std::int16_t times(std::int16_t sample, std::int16_t weight)
{
    return static_cast<std::int16_t>((std::int32_t { sample } * weight) >> 16);
}

NIMBARA_INLINE std::uint16_t colourOf(std::int16_t sum)
{
    constexpr auto rounding = static_cast<std::int16_t>(1 << (sumShift - 1));
    const auto value = static_cast<std::int16_t>((sum + rounding) >> sumShift);
    const auto least = value < 0 ? std::int16_t { 0 } : value;
    return static_cast<std::uint16_t>(least > 255 ? std::int16_t { 255 } : least);
}

/// Red and green, then blue and alpha in words of two bytes.
NIMBARA_INLINE void rgbaRow(Bytes luma,
    Samples u,
    Samples v,
    std::uint16_t *__restrict rgba,
    std::int32_t width,
    const Weights &of)
{
    const Weights w = of;
    for (std::ptrdiff_t x = 0; x < width; ++x) {
        const auto above = static_cast<std::int16_t>((luma[x] - w.base) * (1 << sampleShift));
        const std::int16_t bright = times(above, w.luma);
        const auto red = static_cast<std::int16_t>(bright + times(v[x], w.redOfV));
        const auto green
            = static_cast<std::int16_t>(bright + times(u[x], w.greenOfU) + times(v[x], w.greenOfV));
        const auto blue = static_cast<std::int16_t>(bright + times(u[x], w.blueOfU));
        rgba[2 * x] = static_cast<std::uint16_t>(colourOf(red) | colourOf(green) << 8U);
        rgba[2 * x + 1] = static_cast<std::uint16_t>(colourOf(blue) | 0xFF00U);
    }
}

struct Plane {
    const std::uint8_t *data = nullptr;
    std::ptrdiff_t stride = 0;
    [[nodiscard]] const std::uint8_t *row(std::int32_t y) const { return data + y * stride; }
};

struct Job {
    GstVideoFormat format = GST_VIDEO_FORMAT_UNKNOWN;
    bool cosited = false;
    Weights weights;
    Plane luma; ///< the first plane
    Plane u; ///< with NV12 both
    Plane v;
    Frame &to;
};

/// The rows of half height around a line: the one it lies in, and the one next to it.
struct Rows {
    std::int32_t near;
    std::int32_t far;

    Rows(std::int32_t y, std::int32_t height)
        : near(y / 2)
        , far(std::clamp(y % 2 == 0 ? near - 1 : near + 1, 0, (height + 1) / 2 - 1))
    {
    }
};

/// Brings the chroma of the line to its width; returns its luma.
NIMBARA_INLINE const std::uint8_t *readLine(const Job &job, std::int32_t y, Line &line)
{
    const Rows rows(y, job.to.height);
    std::int16_t *u = line.halfU.data() + 1;
    std::int16_t *v = line.halfV.data() + 1;
    const std::uint8_t *luma = job.luma.row(y);
    if (job.format == GST_VIDEO_FORMAT_YUY2) {
        readPacked(luma, line.luma.data(), u, v, line.half);
        luma = line.luma.data();
    } else if (job.format == GST_VIDEO_FORMAT_NV12) {
        readPairs(job.u.row(rows.near), job.u.row(rows.far), u, v, line.half);
    } else if (job.format == GST_VIDEO_FORMAT_I420) {
        readRows(job.u.row(rows.near), job.u.row(rows.far), u, line.half);
        readRows(job.v.row(rows.near), job.v.row(rows.far), v, line.half);
    } else {
        readRow(job.u.row(y), u, line.half);
        readRow(job.v.row(y), v, line.half);
    }
    spreadRow(line.halfU.data(), line.u.data(), line.half, job.cosited);
    spreadRow(line.halfV.data(), line.v.data(), line.half, job.cosited);
    return luma;
}

NIMBARA_INLINE void convertAll(const Job &job)
{
    const std::int32_t width = job.to.width;
    Line line(width);
    auto *rgba = reinterpret_cast<std::uint16_t *>( // NOLINT: bytes by twos, little end first
        job.to.pixels.data());
    for (std::int32_t y = 0; y < job.to.height; ++y, rgba += std::ptrdiff_t { 2 } * width) {
        const std::uint8_t *luma = readLine(job, y, line);
        rgbaRow(luma, line.u.data(), line.v.data(), rgba, width, job.weights);
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

Plane planeOf(const GstVideoFrame &frame, guint plane)
{
    if (plane >= GST_VIDEO_FRAME_N_PLANES(&frame)) {
        return {};
    }
    return { static_cast<const std::uint8_t *>(GST_VIDEO_FRAME_PLANE_DATA(&frame, plane)),
        GST_VIDEO_FRAME_PLANE_STRIDE(&frame, plane) };
}

} // namespace

bool convertsToRgba(const GstVideoInfo &info)
{
    switch (GST_VIDEO_INFO_FORMAT(&info)) {
    case GST_VIDEO_FORMAT_YUY2:
    case GST_VIDEO_FORMAT_NV12:
    case GST_VIDEO_FORMAT_I420:
    case GST_VIDEO_FORMAT_Y42B:
        break;
    default:
        return false;
    }
    double red = 0;
    double blue = 0;
    const GstVideoColorimetry &colours = info.colorimetry;
    const bool isRanged = colours.range == GST_VIDEO_COLOR_RANGE_0_255
        || colours.range == GST_VIDEO_COLOR_RANGE_16_235;
    return isRanged && GST_VIDEO_INFO_INTERLACE_MODE(&info) == GST_VIDEO_INTERLACE_MODE_PROGRESSIVE
        && (info.chroma_site & GST_VIDEO_CHROMA_SITE_V_COSITED) == 0
        && gst_video_color_matrix_get_Kr_Kb(colours.matrix, &red, &blue) != FALSE;
}

void convertToRgba(const GstVideoFrame &from, Frame &to)
{
    const Job job { GST_VIDEO_FRAME_FORMAT(&from),
        (from.info.chroma_site & GST_VIDEO_CHROMA_SITE_H_COSITED) != 0,
        weightsOf(from.info),
        planeOf(from, 0),
        planeOf(from, 1),
        planeOf(from, 2),
        to };
#if NIMBARA_HAS_WIDE
    if (__builtin_cpu_supports("avx2") != 0) {
        convertWide(job);
        return;
    }
#endif
    convertPlainly(job);
}

} // namespace nimbara

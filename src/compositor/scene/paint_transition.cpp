#include "compositor/scene/paint_transition.h"

#include "compositor/scene/native_pixels.h"
#include "compositor/scene/picture_fit.h"

#include <QPainter>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <span>

namespace nimbara {

namespace {

constexpr std::ptrdiff_t pixelBytes = 4;
constexpr int whole = 256; ///< the weight of a picture that covers the other
constexpr int softPart = 16; ///< the soft edge of a wipe is this part of its way,
constexpr int softest = 120; ///< and this many pixels at most

using Weight = std::uint16_t;

/// What the transition is painted from.
struct Pair {
    const QImage &from;
    const QImage &to;
};

Weight weightOf(double share)
{
    return static_cast<Weight>(std::lround(std::clamp(share, 0.0, 1.0) * whole));
}

/// One byte of `over` at `weight` / 256 on `below`.
std::uint8_t mixed(std::uint8_t below, std::uint8_t over, Weight weight)
{
    const auto rest = static_cast<Weight>(whole - weight);
    return static_cast<std::uint8_t>(
        static_cast<std::uint16_t>(over * weight + below * rest + whole / 2) >> 8);
}

/// `onto` = `over` at `weight` on `below`: both are opaque.
void mixRow(uchar *onto, const uchar *below, const uchar *over, std::ptrdiff_t bytes, Weight weight)
{
    for (std::ptrdiff_t i = 0; i < bytes; ++i) {
        onto[i] = mixed(below[i], over[i], weight);
    }
}

/// The same with a weight for each pixel.
void mixPixels(uchar *onto, const uchar *below, const uchar *over, std::span<const Weight> weights)
{
    for (const Weight weight : weights) {
        for (std::ptrdiff_t i = 0; i < pixelBytes; ++i) {
            onto[i] = mixed(below[i], over[i], weight);
        }
        onto += pixelBytes;
        below += pixelBytes;
        over += pixelBytes;
    }
}

using Pixels [[gnu::vector_size(16)]] = std::uint32_t; ///< four, as every processor of ours takes
using Channels [[gnu::vector_size(16)]] = std::uint16_t; ///< every second byte of them

Pixels pixelsAt(const uchar *bytes)
{
    Pixels pixels;
    std::memcpy(&pixels, bytes, sizeof pixels);
    return pixels;
}

/// mixed() of every second byte, in the upper half of its lane.
Channels mixedLanes(Channels below, Channels over, Channels weight)
{
    return over * weight + below * (whole - weight) + whole / 2;
}

/// `over`, which has straight alpha, on `below`.
Pixels laid(Pixels below, Pixels over)
{
    const Pixels alpha = over >> 24;
    const Pixels weight = alpha + (alpha >> 7); // 255 is whole
    const auto weights = reinterpret_cast<Channels>(weight | weight << 16);
    const auto under = reinterpret_cast<Channels>(below);
    const auto top = reinterpret_cast<Channels>(over);
    const Channels even = mixedLanes(under & 255, top & 255, weights) >> 8;
    const Channels odd = mixedLanes(under >> 8, top >> 8, weights) & 0xff00;
    return reinterpret_cast<Pixels>(even | odd) | 0xff000000U;
}

/// `onto` = `over`, which has straight alpha, on `below`.
void layRow(uchar *onto, const uchar *below, const uchar *over, std::ptrdiff_t bytes)
{
    constexpr std::ptrdiff_t step = sizeof(Pixels);
    std::ptrdiff_t at = 0;
    for (; at + step <= bytes; at += step) {
        const Pixels pixels = laid(pixelsAt(below + at), pixelsAt(over + at));
        std::memcpy(onto + at, &pixels, sizeof pixels);
    }
    if (at < bytes) { // fewer than four are left
        const auto rest = static_cast<std::size_t>(bytes - at);
        Pixels under {};
        Pixels top {};
        std::memcpy(&under, below + at, rest);
        std::memcpy(&top, over + at, rest);
        const Pixels pixels = laid(under, top);
        std::memcpy(onto + at, &pixels, rest);
    }
}

/// Copies the pixels from column `first` to before column `end` into the same place.
void copyColumns(uchar *onto, const uchar *row, int first, int end)
{
    const std::ptrdiff_t skipped = first * pixelBytes;
    std::memcpy(onto + skipped,
        row + skipped,
        static_cast<std::size_t>((end - first) * pixelBytes));
}

void copy(QImage &canvas, const QImage &picture)
{
    for (int y = 0; y < canvas.height(); ++y) {
        copyColumns(canvas.scanLine(y), picture.constScanLine(y), 0, canvas.width());
    }
}

void fade(QImage &canvas, const Pair &pair, double progress)
{
    const Weight weight = weightOf(1 - progress);
    for (int y = 0; y < canvas.height(); ++y) {
        mixRow(canvas.scanLine(y),
            pair.to.constScanLine(y),
            pair.from.constScanLine(y),
            canvas.width() * pixelBytes,
            weight);
    }
}

/// Two pictures side by side, seen from column `at` of the first one on.
void slideAcross(QImage &canvas, const QImage &first, const QImage &second, int at)
{
    const std::ptrdiff_t gone = at * pixelBytes;
    const std::ptrdiff_t left = canvas.width() * pixelBytes - gone;
    for (int y = 0; y < canvas.height(); ++y) {
        uchar *onto = canvas.scanLine(y);
        std::memcpy(onto, first.constScanLine(y) + gone, static_cast<std::size_t>(left));
        std::memcpy(onto + left, second.constScanLine(y), static_cast<std::size_t>(gone));
    }
}

/// The same of one picture above the other, from row `at` on.
void slideAlong(QImage &canvas, const QImage &first, const QImage &second, int at)
{
    const int height = canvas.height();
    for (int y = 0; y < height; ++y) {
        const int row = y + at;
        copyColumns(canvas.scanLine(y),
            row < height ? first.constScanLine(row) : second.constScanLine(row - height),
            0,
            canvas.width());
    }
}

/// The edge of a wipe, which is soft, on its way. Places are counted in pixels from where it sets
/// out.
class Edge {
public:
    Edge(int way, double progress)
        : m_soft(std::clamp(way / softPart, 1, softest))
        , m_lead(progress * (way + m_soft))
        , m_begin(std::clamp(static_cast<int>(std::floor(m_lead)) - m_soft + 1, 0, way))
        , m_end(std::clamp(static_cast<int>(std::ceil(m_lead)), m_begin, way))
    {
    }
    /// Before it all is new.
    [[nodiscard]] int begin() const { return m_begin; }
    /// From it on all is old.
    [[nodiscard]] int end() const { return m_end; }
    /// Of the new picture.
    [[nodiscard]] Weight weightAt(int place) const { return weightOf((m_lead - place) / m_soft); }

private:
    int m_soft; ///< pixels
    double m_lead;
    int m_begin;
    int m_end;
};

void wipeAcross(QImage &canvas, const Pair &pair, double progress, bool leftwards)
{
    const int width = canvas.width();
    const Edge edge(width, progress);
    const int soft = edge.end() - edge.begin();
    std::array<Weight, softest> weights {};
    for (int i = 0; i < soft; ++i) {
        weights.at(static_cast<std::size_t>(i))
            = edge.weightAt(leftwards ? edge.end() - 1 - i : edge.begin() + i);
    }
    const int left = leftwards ? width - edge.end() : edge.begin();
    const std::ptrdiff_t skipped = left * pixelBytes;
    for (int y = 0; y < canvas.height(); ++y) {
        uchar *onto = canvas.scanLine(y);
        const uchar *from = pair.from.constScanLine(y);
        const uchar *to = pair.to.constScanLine(y);
        copyColumns(onto, leftwards ? from : to, 0, left);
        mixPixels(onto + skipped,
            from + skipped,
            to + skipped,
            std::span(weights).first(static_cast<std::size_t>(soft)));
        copyColumns(onto, leftwards ? to : from, left + soft, width);
    }
}

void wipeAlong(QImage &canvas, const Pair &pair, double progress, bool upwards)
{
    const int height = canvas.height();
    const Edge edge(height, progress);
    for (int y = 0; y < height; ++y) {
        const int place = upwards ? height - 1 - y : y;
        const uchar *from = pair.from.constScanLine(y);
        const uchar *to = pair.to.constScanLine(y);
        if (place < edge.begin() || place >= edge.end()) {
            copyColumns(canvas.scanLine(y), place < edge.begin() ? to : from, 0, canvas.width());
            continue;
        }
        mixRow(canvas.scanLine(y), from, to, canvas.width() * pixelBytes, edge.weightAt(place));
    }
}

} // namespace

void paintTransition(QImage &canvas,
    const QImage &from,
    const QImage &to,
    TransitionKind kind,
    double progress)
{
    const auto gone = [progress](int way) {
        return static_cast<int>(std::lround(std::clamp(progress, 0.0, 1.0) * way));
    };
    switch (kind) {
    case TransitionKind::Cut:
    case TransitionKind::Clip:
        return copy(canvas, to);
    case TransitionKind::Fade:
        return fade(canvas, { from, to }, progress);
    case TransitionKind::SlideLeft:
        return slideAcross(canvas, from, to, gone(canvas.width()));
    case TransitionKind::SlideRight:
        return slideAcross(canvas, to, from, canvas.width() - gone(canvas.width()));
    case TransitionKind::SlideUp:
        return slideAlong(canvas, from, to, gone(canvas.height()));
    case TransitionKind::SlideDown:
        return slideAlong(canvas, to, from, canvas.height() - gone(canvas.height()));
    case TransitionKind::WipeLeft:
    case TransitionKind::WipeRight:
        return wipeAcross(canvas, { from, to }, progress, kind == TransitionKind::WipeLeft);
    case TransitionKind::WipeUp:
    case TransitionKind::WipeDown:
        return wipeAlong(canvas, { from, to }, progress, kind == TransitionKind::WipeUp);
    }
}

void paintClip(QImage &canvas, const QImage &below, const Frame &picture)
{
    const int left = picture.width - canvas.width();
    const int top = picture.height - canvas.height();
    if (left < 0 || top < 0 || (left > 0 && top > 0)) { // not yet in the size of its place
        const PictureFit fit = fitPicture(picture.size(), QRectF(canvas.rect()), true);
        copy(canvas, below);
        toNative(canvas);
        {
            QPainter painter(&canvas);
            painter.setRenderHint(QPainter::SmoothPixmapTransform);
            painter.drawImage(fit.target, nativeView(picture), fit.source);
        }
        fromNative(canvas);
        return;
    }
    const std::ptrdiff_t cropped = left / 2 * pixelBytes;
    for (int y = 0; y < canvas.height(); ++y) {
        layRow(canvas.scanLine(y),
            below.constScanLine(y),
            picture.pixels.data() + (y + top / 2) * picture.stride() + cropped,
            canvas.width() * pixelBytes);
    }
}

} // namespace nimbara

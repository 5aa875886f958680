#pragma once

#include <QImage>
#include <QPoint>
#include <QRect>

#include <cstdint>
#include <memory>
#include <vector>

namespace nimbara {

/// Where a text has ink: one byte per pixel, 0 to 255, in a rectangle of the canvas. One mask is
/// blended several times, as shadow and as text.
class Coverage {
public:
    Coverage() = default;

    /// No ink yet. `rect`: in pixels of the canvas.
    explicit Coverage(const QRect &rect);

    /// Adds ink: the alpha of the top-left part of a premultiplied ARGB32 picture, `place` being
    /// that part's rectangle on the canvas. Ink over ink adds up like paint; what lies outside the
    /// mask is lost.
    void add(const QImage &ink, const QRect &place);

    /// The part of one row that has ink, as columns of the mask; none when `first` = `end`.
    struct Span {
        std::int32_t first = 0;
        std::int32_t end = 0;
    };

    [[nodiscard]] const QRect &rect() const { return m_rect; }
    [[nodiscard]] Span ink(std::int32_t row) const { return m_ink[row]; }
    [[nodiscard]] const std::uint8_t *row(std::int32_t row) const
    {
        return m_values.data() + std::ptrdiff_t { row } * m_rect.width();
    }

    /// The smallest rectangle of the canvas that holds all ink.
    [[nodiscard]] QRect inkRect() const;

private:
    QRect m_rect;
    std::vector<std::uint8_t> m_values;
    std::vector<Span> m_ink;
};

/// One use of a mask: moved by whole pixels and weakened.
struct Stamp {
    const Coverage *coverage = nullptr;
    QPoint offset;
    double alpha = 1; ///< 0..1
};

/// A picture of part of a canvas, its top-left corner at `place`.
struct Sprite {
    QImage image; ///< premultiplied RGBA bytes; as a native view once it is painted
    QPoint place;

    [[nodiscard]] QRect rect() const { return { place, image.size() }; }
};

using SpritePtr = std::shared_ptr<const Sprite>;

/// Paints the stamps one over the other onto the sprite, all in one colour (whose alpha does not
/// count). The sprite holds RGBA bytes in either format.
void blendStamps(Sprite &sprite, QRgb color, const std::vector<Stamp> &stamps);

} // namespace nimbara

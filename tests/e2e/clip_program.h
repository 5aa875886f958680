#pragma once

#include "document/profile.h"
#include "signal/frame.h"

#include <QImage>
#include <QPainter>
#include <QRandomGenerator>

#include <cmath>
#include <cstdint>
#include <memory>
#include <numbers>
#include <vector>

namespace nimbara::testing {

/// A program that shows and sounds like a test clip (clips.h), with noise that fills a bit rate.
/// Its numbers have 16 bits.
class ClipProgram {
public:
    /// Any size of the clip's shape.
    explicit ClipProgram(FrameSize size)
        : m_size(size)
    {
        QRandomGenerator(1).fillRange(reinterpret_cast<quint32 *>(m_noise.bits()), 1920 * 1000 / 4);
    }
    [[nodiscard]] FramePtr picture(std::int64_t number) const
    {
        auto frame = std::make_shared<Frame>(m_size.width, m_size.height);
        QImage view(frame->pixels.data(), frame->width, frame->height, QImage::Format_RGBX8888);
        QPainter painter(&view);
        painter.scale(m_size.width / 1920.0, m_size.height / 1080.0);
        for (int bit = 0; bit < 16; ++bit) {
            const bool isSet = (number >> bit & 1) != 0;
            painter.fillRect(bit * 120, 0, 120, 135, isSet ? Qt::white : Qt::black);
        }
        painter.fillRect(0, 945, 1920, 135, flashes(number) ? Qt::white : Qt::black);
        painter.drawImage(0, 540, m_noise, 0, static_cast<int>(number * 37 % 984), 1920, 16);
        return frame;
    }
    [[nodiscard]] static std::vector<float> sound(std::int64_t number)
    {
        std::vector<float> block(3200);
        for (std::size_t i = 0; flashes(number) && i < block.size(); ++i) { // 30 whole periods
            const auto turns = static_cast<double>(i / 2) * 900 / 48000;
            block[i] = static_cast<float>(0.5 * std::sin(2 * std::numbers::pi * turns));
        }
        return block;
    }

private:
    static bool flashes(std::int64_t number) { return number % 30 < 3; }
    FrameSize m_size;
    QImage m_noise { 1920, 1000, QImage::Format_Grayscale8 };
};

} // namespace nimbara::testing

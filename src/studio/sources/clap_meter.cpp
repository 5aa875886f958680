#include "studio/sources/clap_meter.h"

#include "signal/audio_block.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

namespace nimbara {

namespace {

constexpr std::int32_t columns = 64;
constexpr std::int32_t rows = 36;
constexpr double leastChange = 3.0; ///< mean of all places, of 255
constexpr double suddenChange = 3.0; ///< times what is usual around it
constexpr double alike = 0.8; ///< of the largest change: the first such one is the clap's
constexpr std::size_t slice = 96; ///< stereo frames, 2 ms
constexpr float leastPeak = 0.05F;
constexpr double suddenPeak = 6.0; ///< times the level before
constexpr double quietMemory = 0.98; ///< for each slice, a tenth of a second in all

/// The brightness at places spread over the picture.
std::vector<std::uint8_t> gridOf(const Frame &picture)
{
    std::vector<std::uint8_t> grid;
    grid.reserve(static_cast<std::size_t>(columns) * rows);
    for (std::int32_t row = 0; row < rows; ++row) {
        const std::uint8_t *line
            = picture.pixels.data() + picture.height * row / rows * picture.stride();
        for (std::int32_t column = 0; column < columns; ++column) {
            const std::uint8_t *pixel
                = line + static_cast<std::ptrdiff_t>(picture.width * column / columns) * 4;
            grid.push_back(static_cast<std::uint8_t>((pixel[0] + 2 * pixel[1] + pixel[2]) / 4));
        }
    }
    return grid;
}

double difference(const std::vector<std::uint8_t> &one, const std::vector<std::uint8_t> &other)
{
    double sum = 0.0;
    for (std::size_t place = 0; place < one.size(); ++place) {
        sum += std::abs(int(one[place]) - int(other[place]));
    }
    return sum / static_cast<double>(one.size());
}

template <typename Value> Value medianOf(std::vector<Value> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

int milliseconds(std::int64_t us)
{
    return static_cast<int>(std::lround(static_cast<double>(us) / 1000.0));
}

} // namespace

void ClapMeter::begin()
{
    m_isUnderWay = true;
    m_begunUs.reset();
    m_shown.reset();
    m_grid.clear();
    m_changes.clear();
    m_quiet = 1.0;
    m_heardUs.reset();
    m_earlyUs.clear();
    Q_EMIT told("Da tres palmadas ante la cámara, una cada cinco segundos.");
}

void ClapMeter::look(std::int64_t timeUs, const FramePtr &picture, std::span<const float> sound)
{
    if (!m_isUnderWay) {
        return;
    }
    m_nowUs = timeUs;
    if (!m_begunUs) {
        m_begunUs = timeUs;
    }
    lookAt(timeUs, picture);
    listen(timeUs, sound);
    match();
    if (m_earlyUs.size() == wanted || timeUs - *m_begunUs > patienceUs) {
        finish();
    }
}

void ClapMeter::lookAt(std::int64_t timeUs, const FramePtr &picture)
{
    if (!picture || picture == m_shown) {
        return;
    }
    m_shown = picture;
    const std::vector<std::uint8_t> before = std::exchange(m_grid, gridOf(*picture));
    if (!before.empty()) {
        m_changes.push_back({ timeUs, difference(before, m_grid) });
    }
    while (!m_changes.empty() && m_changes.front().timeUs < timeUs - 3 * reachUs) {
        m_changes.pop_front();
    }
}

void ClapMeter::listen(std::int64_t timeUs, std::span<const float> sound)
{
    const std::size_t frames = sound.size() / audioChannels;
    for (std::size_t begin = 0; begin < frames; begin += slice) {
        const auto part
            = sound.subspan(begin * audioChannels, std::min(slice, frames - begin) * audioChannels);
        float peak = 0.0F;
        for (const float value : part) {
            peak = std::max(peak, std::abs(value));
        }
        if (!m_heardUs && peak > leastPeak && peak > suddenPeak * m_quiet) {
            m_heardUs = timeUs + static_cast<std::int64_t>(begin) * 1'000'000 / audioRate;
        }
        m_quiet = std::max(quietMemory * m_quiet, static_cast<double>(peak));
    }
}

/// The first of the largest changes around a sound, when it stands out.
std::optional<std::int64_t> ClapMeter::pictureNear(std::int64_t soundUs) const
{
    std::vector<double> sizes;
    for (const Change &change : m_changes) {
        if (std::abs(change.timeUs - soundUs) <= reachUs) {
            sizes.push_back(change.size);
        }
    }
    if (sizes.empty()) {
        return std::nullopt;
    }
    const double largest = *std::max_element(sizes.begin(), sizes.end());
    if (largest < leastChange || largest < suddenChange * medianOf(sizes)) {
        return std::nullopt;
    }
    const auto isIt = [&](const Change &change) {
        return std::abs(change.timeUs - soundUs) <= reachUs && change.size >= alike * largest;
    };
    return std::find_if(m_changes.begin(), m_changes.end(), isIt)->timeUs;
}

/// All pictures that may belong to the sound have come.
void ClapMeter::match()
{
    if (!m_heardUs || m_nowUs <= *m_heardUs + reachUs) {
        return;
    }
    const std::int64_t heardUs = *std::exchange(m_heardUs, std::nullopt);
    const std::optional<std::int64_t> seenUs = pictureNear(heardUs);
    if (!seenUs) {
        Q_EMIT told("Se oyó una palmada que no se vio en la cámara.");
        return;
    }
    m_earlyUs.push_back(*seenUs - heardUs);
    Q_EMIT told(Message("Palmada %1 de %2: el sonido se adelanta %3 ms.",
        { Message::verbatim(QString::number(m_earlyUs.size())),
            Message::verbatim(QString::number(wanted)),
            Message::verbatim(QString::number(milliseconds(m_earlyUs.back()))) }));
}

void ClapMeter::finish()
{
    m_isUnderWay = false;
    if (m_earlyUs.size() < wanted) {
        Q_EMIT told("No se oyeron y vieron tres palmadas: comprueba la cámara y el micrófono.");
        Q_EMIT measured(std::nullopt);
    } else {
        Q_EMIT measured(milliseconds(medianOf(m_earlyUs)));
    }
}

} // namespace nimbara

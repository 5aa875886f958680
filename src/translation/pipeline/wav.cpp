#include "translation/pipeline/wav.h"

#include <QtEndian>

#include <array>

namespace nimbara {

namespace {

constexpr quint32 rate = 16000;
constexpr quint16 bytesPerSample = 2;
constexpr qsizetype headerBytes = 44;

template <typename Value> void append(QByteArray &into, Value value)
{
    std::array<char, sizeof(Value)> bytes {};
    qToLittleEndian(value, bytes.data());
    into.append(bytes.data(), static_cast<qsizetype>(bytes.size()));
}

} // namespace

QByteArray wavFile(std::span<const std::int16_t> samples)
{
    const auto dataBytes = static_cast<quint32>(samples.size_bytes());
    QByteArray file;
    file.reserve(headerBytes + static_cast<qsizetype>(samples.size_bytes()));
    file += "RIFF";
    append<quint32>(file, dataBytes + 36);
    file += "WAVEfmt ";
    append<quint32>(file, 16); // length of the format record
    append<quint16>(file, 1); // PCM
    append<quint16>(file, 1); // channels
    append<quint32>(file, rate);
    append<quint32>(file, rate * bytesPerSample);
    append<quint16>(file, bytesPerSample); // block align
    append<quint16>(file, 8 * bytesPerSample); // bits
    file += "data";
    append<quint32>(file, dataBytes);
    for (const std::int16_t sample : samples) {
        append<qint16>(file, sample);
    }
    return file;
}

std::int64_t wavUs(const QByteArray &file)
{
    return (file.size() - headerBytes) / bytesPerSample * 1'000'000 / rate;
}

} // namespace nimbara

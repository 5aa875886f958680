#pragma once

#include <QByteArray>

#include <cstdint>
#include <span>

namespace nimbara {

/// A WAV file of mono 16-bit samples at 16000 Hz: the 44-byte header and the samples,
/// little-endian.
QByteArray wavFile(std::span<const std::int16_t> samples);

/// How long such a file is, in microseconds.
std::int64_t wavUs(const QByteArray &file);

} // namespace nimbara

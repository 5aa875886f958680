#include "output/sink/finished_file.h"

#include <QFile>

#include <bit>
#include <cstdint>
#include <optional>

namespace nimbara {

namespace {

const QByteArray ebmlId = QByteArrayLiteral("\x1A\x45\xDF\xA3");
const QByteArray segmentId = QByteArrayLiteral("\x18\x53\x80\x67");
constexpr int mostSizeBytes = 8;

/// A size of an element, in as many bytes as the zeros before its first one tell, which is no part
/// of it; none for all ones, the unknown size, and where the file ends.
std::optional<std::int64_t> readSize(QFile &file)
{
    char first = 0;
    if (!file.getChar(&first)) {
        return std::nullopt;
    }
    const int more = std::countl_zero(static_cast<std::uint8_t>(first));
    const QByteArray rest = file.read(more);
    if (more >= mostSizeBytes || rest.size() != more) {
        return std::nullopt;
    }
    std::uint64_t size = static_cast<std::uint8_t>(first) & (0x7FU >> more);
    for (const char next : rest) {
        size = size << 8U | static_cast<std::uint8_t>(next);
    }
    const std::uint64_t unknown = (std::uint64_t { 1 } << (7 * (more + 1))) - 1;
    return size == unknown ? std::nullopt : std::optional(static_cast<std::int64_t>(size));
}

} // namespace

bool isFinishedRecording(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || file.read(ebmlId.size()) != ebmlId) {
        return false;
    }
    const std::optional<std::int64_t> header = readSize(file);
    if (!header || !file.seek(file.pos() + *header) || file.read(segmentId.size()) != segmentId) {
        return false;
    }
    const std::optional<std::int64_t> segment = readSize(file);
    return segment && *segment > 0 && file.pos() + *segment == file.size();
}

} // namespace nimbara

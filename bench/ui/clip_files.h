#pragma once

#include <QStringList>
#include <QTemporaryDir>

namespace nimbara::bench {

/// Real clips, H.264 and AAC at 1280 × 720 and 30 frames per second, each in a file of its own.
class ClipFiles {
public:
    /// Made by ffmpeg; throws std::runtime_error when it cannot.
    ClipFiles(int count, int seconds);

    /// Their media locations.
    [[nodiscard]] const QStringList &locations() const { return m_locations; }

private:
    QTemporaryDir m_folder;
    QStringList m_locations;
};

} // namespace nimbara::bench

#include "bench.h"
#include "studio/studio.h"

#include <QString>
#include <QTemporaryDir>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <string>
#include <thread>

namespace {

using namespace nimbara;
using namespace nimbara::bench;
using namespace std::chrono_literals;

/// A hundred scenes of twenty layers, none of which needs a file.
Project largeProject()
{
    static constexpr std::array kinds { LayerKind::Camera,
        LayerKind::Text,
        LayerKind::Color,
        LayerKind::Verse,
        LayerKind::Subtitle };
    Project project;
    for (int scene = 0; scene < 100; ++scene) {
        std::vector<Layer> layers;
        for (std::size_t layer = 0; layer < 20; ++layer) {
            layers.push_back(newLayer(kinds.at(layer % kinds.size())));
        }
        project.streams.push_back({ QString::number(scene), layers });
    }
    project.hall = { defaultScene(true) };
    return project;
}

/// From the operator's choice of the file until the project stands on the desk; and how long the
/// interface was held up at a time meanwhile.
std::string tellOpening()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("p.nimbara"));
    writeProjectFile(path, toJson(largeProject()));
    const SystemClock clock;
    Studio studio(clock);
    double longest = 0;
    const double total = timeMs([&] {
        studio.projects().openProject(path);
        while (studio.projects().lastPath().isEmpty()) {
            longest = std::max(longest, timeMs([&] { studio.tick(); }));
            std::this_thread::sleep_for(1ms);
        }
    });
    std::array<char, 100> line {};
    std::snprintf(line.data(), line.size(), "open_ms=%.1f longest_tick_ms=%.1f", total, longest);
    return line.data();
}

} // namespace

NIMBARA_BENCH_CASE("project", tellOpening)

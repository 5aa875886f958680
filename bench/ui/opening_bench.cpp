#include "bench.h"
#include "ui/clip_files.h"
#include "ui/watched_window.h"

#include <QSettings>
#include <QTemporaryDir>

#include <array>
#include <chrono>
#include <cmath>
#include <string>

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
    Project project = newProject();
    project.scenes.of(SceneSet::Streams).clear();
    for (int scene = 0; scene < 100; ++scene) {
        std::vector<Layer> layers;
        for (std::size_t layer = 0; layer < 20; ++layer) {
            layers.push_back(newLayer(kinds.at(layer % kinds.size())));
        }
        project.scenes.of(SceneSet::Streams).push_back(makeScene(QString::number(scene), layers));
    }
    return project;
}

/// Two clips in each scene.
Project clipProject(const QStringList &locations)
{
    Project project = newProject();
    project.scenes.of(SceneSet::Streams).clear();
    for (qsizetype i = 0; i + 1 < locations.size(); i += 2) {
        std::vector<Layer> layers;
        for (const QString &location : locations.mid(i, 2)) {
            Layer layer = newLayer(LayerKind::Video);
            layer.uri = location;
            layers.push_back(layer);
        }
        project.scenes.of(SceneSet::Streams).push_back(makeScene(QString::number(i), layers));
    }
    return project;
}

/// From the press of the button until the project stands on the desk.
std::string open(WatchedWindow &window, const Project &project, const QString &path)
{
    writeProjectFile(path, toJson(project));
    window.dialogs().files = { path };
    window.press("openProject");
    const auto figures
        = window.runUntil([&] { return window.studio().projects().lastPath() == path; }, 60s);
    return figures.text();
}

std::string tellProject()
{
    const QTemporaryDir folder;
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, folder.path());
    WatchedWindow window;
    std::string told = open(window, largeProject(), folder.filePath(QStringLiteral("p.nimbara")));
    return told.append("\tthen: ").append(window.runFor(1s).text());
}

/// Fifty clips that start, run, and are let go of for an empty project.
std::string tellClips()
{
    const QTemporaryDir folder;
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, folder.path());
    const ClipFiles clips(50, 60);
    WatchedWindow window;
    std::string told = open(window,
        clipProject(clips.locations()),
        folder.filePath(QStringLiteral("c.nimbara")));
    told.append("\tstarting: ").append(window.runFor(5s).text());
    told.append("\trunning: ").append(window.runFor(5s).text());
    told.append("\t").append(std::to_string(std::lround(residentMiB()))).append(" MiB");
    told.append("\tan empty one: ");
    told.append(open(window, newProject(), folder.filePath(QStringLiteral("e.nimbara"))));
    told.append("\tthen: ").append(window.runFor(5s).text());
    return told;
}

} // namespace

NIMBARA_BENCH_CASE("project", tellProject)
NIMBARA_BENCH_CASE("clips", tellClips)

#include "studio/projects/project_opening.h"

#include "base/error.h"
#include "compositor/scene/load_image.h"
#include "document/local_files.h"
#include "studio/sources/source_pool.h"

#include <QElapsedTimer>
#include <QFileInfo>

#include <algorithm>
#include <utility>

namespace nimbara {

namespace {

using namespace std::chrono_literals;

constexpr auto readingPatience = 10s;
constexpr auto startPatience = 3s;
constexpr auto farewell = 1000ms;
constexpr qint64 stepMs = 8; ///< of a frame's 33, for starting sources

} // namespace

ProjectOpening::~ProjectOpening()
{
    if (m_reading.isUnderWay()) {
        m_calledOff->store(true);
        static_cast<void>(m_reading.isReady(farewell));
    }
}

void ProjectOpening::cancel()
{
    if (m_calledOff) {
        m_calledOff->store(true);
    }
    m_reading.abandon();
    m_opened.reset();
    m_waiting.clear();
}

ProjectOpening::Read ProjectOpening::readAll(const QString &path,
    const FileReader &read,
    const std::atomic<bool> &calledOff)
{
    const QString folder = path.isEmpty() ? QString() : QFileInfo(path).absolutePath();
    Read all { fromJson(read(path), folder), {}, {}, {} };
    all.missing = missingFiles(all.project.scenes,
        [&calledOff](const QString &file) { return calledOff.load() || QFileInfo::exists(file); });
    if (const QString &clip = all.project.transitionClip.path; !clip.isEmpty()
        && !all.missing.contains(clip) && !calledOff.load() && !QFileInfo::exists(clip)) {
        all.missing << clip;
    }
    for (const SceneSet set : bothSets) {
        for (const ScenePtr &scene : all.project.scenes.of(set)) {
            for (const Layer &layer : scene->layers) {
                const bool wanted = layer.kind == LayerKind::Image && !layer.path.isEmpty();
                if (!wanted || all.pictures.contains(layer.path) || calledOff.load()) {
                    continue;
                }
                try {
                    all.pictures.insert(layer.path, loadImage(layer.path));
                } catch (const std::exception &error) {
                    all.pictures.insert(layer.path, nullptr);
                    all.failures.insert(layer.path, errorMessage(error));
                }
            }
        }
    }
    return all;
}

void ProjectOpening::start(const QString &path, const FileReader &read)
{
    cancel();
    m_path = path;
    m_calledOff = std::make_shared<std::atomic<bool>>(false);
    m_patience.setRemainingTime(readingPatience);
    m_reading.start(
        [path, read, calledOff = m_calledOff] { return readAll(path, read, *calledOff); });
}

bool ProjectOpening::bars() const
{
    return m_opened || (m_reading.isUnderWay() && !m_patience.hasExpired());
}

void ProjectOpening::beginAttaching(Read read)
{
    m_opened = Opened { m_path,
        std::move(read.project),
        std::move(read.pictures),
        {},
        {},
        read.missing };
    m_failures = std::move(read.failures);
    takeOutLogins();
    m_patience.setRemainingTime(startPatience);
    m_waiting.clear();
    for (const SceneSet set : bothSets) {
        for (const ScenePtr &scene : m_opened->project.scenes.of(set)) {
            for (const Layer &layer : scene->layers) {
                m_waiting.push_back(&layer);
            }
        }
    }
    std::reverse(m_waiting.begin(), m_waiting.end());
}

void ProjectOpening::takeOutLogins()
{
    for (const SceneSet set : bothSets) {
        for (ScenePtr &scene : m_opened->project.scenes.of(set)) {
            Scene bare = *scene;
            for (Layer &layer : bare.layers) {
                if (layer.kind == LayerKind::Video) {
                    layer.uri = m_logins.takeOutOld(layer.uri);
                }
            }
            if (bare != *scene) {
                scene = std::make_shared<const Scene>(std::move(bare));
                m_opened->hadLogins = true;
            }
        }
    }
}

/// Starts what the layer plays, or warns of what it lacks.
void ProjectOpening::attach(const Layer &layer)
{
    if (layer.kind == LayerKind::Image) {
        if (const auto failure = m_failures.constFind(layer.path); failure != m_failures.cend()) {
            warn(layer, *failure);
        }
        return;
    }
    if (layer.kind != LayerKind::Screen
        && (layer.kind != LayerKind::Video || layer.uri.isEmpty())) {
        return;
    }
    MediaPtr source;
    try {
        const FrameSize size = streamSize(m_opened->project.profile);
        source = openSource(m_factory, size, layer);
    } catch (const std::exception &error) {
        warn(layer, errorMessage(error));
    }
    m_opened->sources.emplace_back(layer, std::move(source));
}

void ProjectOpening::warn(const Layer &layer, const Message &reason)
{
    m_opened->warnings << Message::verbatim(layer.name + QStringLiteral(": ")) + reason;
}

/// The sources whose fate is not known. Those refused are let go of, with a warning.
int ProjectOpening::sourcesUnderway()
{
    int underway = 0;
    for (auto &[layer, source] : m_opened->sources) {
        const auto outcome = source ? source->startOutcome() : PipelineStart::Outcome::Accepted;
        if (outcome == PipelineStart::Outcome::Refused) {
            source.reset();
            warn(layer, "No se pudo iniciar fuente");
        }
        underway += outcome == PipelineStart::Outcome::Underway ? 1 : 0;
    }
    return underway;
}

std::optional<ProjectOpening::Opened> ProjectOpening::poll()
{
    if (m_reading.isReady()) {
        beginAttaching(m_reading.take());
    }
    if (!m_opened) {
        return std::nullopt;
    }
    if (m_logins.isFilling() && !m_patience.hasExpired()) {
        return std::nullopt; // what is opened without its login is refused
    }
    QElapsedTimer spent;
    spent.start();
    while (!m_waiting.empty()) {
        const Layer *next = m_waiting.back();
        m_waiting.pop_back();
        attach(*next);
        m_patience.setRemainingTime(startPatience);
        if (spent.elapsed() >= stepMs) {
            return std::nullopt;
        }
    }
    if (const int before = std::exchange(m_underway, sourcesUnderway()); m_underway != before) {
        m_patience.setRemainingTime(startPatience);
    }
    // A source that takes longer tells of its fate itself.
    if (m_underway > 0 && !m_patience.hasExpired()) {
        return std::nullopt;
    }
    return std::exchange(m_opened, std::nullopt);
}

} // namespace nimbara

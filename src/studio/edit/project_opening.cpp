#include "studio/edit/project_opening.h"

#include "base/error.h"
#include "compositor/scene/load_image.h"

#include <QElapsedTimer>

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

void ProjectOpening::start(const QString &path, const FileReader &read)
{
    if (m_calledOff) {
        m_calledOff->store(true);
    }
    m_attachment.reset();
    m_path = path;
    m_calledOff = std::make_shared<std::atomic<bool>>(false);
    m_patience.setRemainingTime(readingPatience);
    m_reading.start([path, read, calledOff = m_calledOff] {
        Project project = fromJson(read(path));
        ImageLoader images = decodeImages(project, [&calledOff](const QString &image) {
            return calledOff->load() ? nullptr : loadImage(image);
        });
        return Read { std::move(project), std::move(images) };
    });
}

bool ProjectOpening::bars() const
{
    return m_attachment || (m_reading.isUnderWay() && !m_patience.hasExpired());
}

void ProjectOpening::beginAttaching(Read read)
{
    const FrameSize size = streamSize(read.project.profile);
    m_attachment.emplace(std::move(read.project),
        LayerFactories { std::move(read.images),
            [this, size](const QString &location) { return m_factory.heldMedia(size, location); },
            [this, size] { return m_factory.screen(size); } });
}

/// The sources whose fate is not known. Those refused are let go of, with a warning.
int ProjectOpening::sourcesUnderway()
{
    int underway = 0;
    for (auto *set : { &m_attachment->project().streams, &m_attachment->project().hall }) {
        for (Scene &scene : *set) {
            for (Layer &layer : scene.layers) {
                const auto outcome = layer.source ? layer.source->startOutcome()
                                                  : PipelineStart::Outcome::Accepted;
                if (outcome == PipelineStart::Outcome::Refused) {
                    layer.source.reset();
                    m_attachment->warn(layer, QStringLiteral("No se pudo iniciar fuente"));
                }
                underway += outcome == PipelineStart::Outcome::Underway ? 1 : 0;
            }
        }
    }
    return underway;
}

std::optional<ProjectOpening::Opened> ProjectOpening::poll()
{
    if (m_reading.isReady()) {
        beginAttaching(m_reading.take());
    }
    if (!m_attachment) {
        return std::nullopt;
    }
    QElapsedTimer spent;
    spent.start();
    while (m_attachment->step()) {
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
    Opened opened { m_path, std::move(m_attachment->project()), m_attachment->warnings() };
    m_attachment.reset();
    return opened;
}

} // namespace nimbara

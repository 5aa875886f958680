#include "studio/projects/project_desk.h"

#include "base/error.h"

#include <utility>

namespace nimbara {

ProjectDesk::ProjectDesk(const MediaFactory &factory,
    std::function<bool()> hasOutputs,
    Stage &stage,
    OnAir &onAir,
    Sources &sources,
    Report status,
    const QString &backupFolder)
    : m_factory(factory)
    , m_hasOutputs(std::move(hasOutputs))
    , m_stage(stage)
    , m_onAir(onAir)
    , m_sources(sources)
    , m_status(std::move(status))
    , m_backupFolder(backupFolder)
    , m_saves(backupFolder)
    , m_opening(factory, sources.logins())
    , m_mediaSearch(stage.document)
{
}

void ProjectDesk::requireIdleOutputs() const
{
    if (m_hasOutputs()) {
        throw Error(QStringLiteral("Detén salidas antes de abrir/guardar proyecto"));
    }
}

void ProjectDesk::saveProject(const QString &path)
{
    requireIdleOutputs();
    saveAtClosing(path);
}

void ProjectDesk::saveAtClosing(const QString &path)
{
    m_saves.save(path, m_stage.document.project());
}

void ProjectDesk::openProject(const QString &path)
{
    requireIdleOutputs();
    if (m_opening.bars() || m_saves.isSaving(path)) {
        throw Error(QStringLiteral("Espera a que termine de abrirse o guardarse el proyecto."));
    }
    m_ready.reset();
    m_before = now();
    m_isRecovery = false;
    m_taken = nullptr;
    m_opening.start(path, readFile);
    tellOpening();
}

void ProjectDesk::recoverProject(const QString &path,
    const ProjectOpening::FileReader &read,
    std::function<void()> taken)
{
    m_ready.reset();
    m_before = now();
    m_isRecovery = true;
    m_taken = std::move(taken);
    m_opening.start(path, read);
    tellOpening();
}

void ProjectDesk::lookForBackups()
{
    m_backups.start([folder = m_backupFolder, path = m_lastPath] {
        return folder.isEmpty() || path.isEmpty() ? std::vector<ProjectBackup> {}
                                                  : projectBackups(folder, path);
    });
}

void ProjectDesk::openBackup(const QString &file)
{
    requireIdleOutputs();
    if (m_opening.bars()) {
        throw Error(QStringLiteral("Espera a que termine de abrirse o guardarse el proyecto."));
    }
    recoverProject(m_lastPath, [file](const QString &) { return readProjectFile(file); });
}

void ProjectDesk::cancelOpening()
{
    m_opening.cancel();
    m_ready.reset();
    m_taken = nullptr;
    tellOpening();
}

void ProjectDesk::takeOverOpened()
{
    if (m_ready) {
        requireIdleOutputs();
        takeOver(*std::exchange(m_ready, std::nullopt));
        tellOpening();
    }
}

ProjectDesk::Before ProjectDesk::now() const
{
    return { m_stage.document.project(), m_stage.sent };
}

void ProjectDesk::poll()
{
    pollSaves();
    if (m_backups.isReady()) {
        Q_EMIT backupsFound(m_backups.take());
    }
    m_mediaSearch.poll();
    try {
        pollOpening();
    } catch (const std::exception &error) {
        m_taken = nullptr;
        Q_EMIT failed(errorMessage(error), {});
    }
    tellOpening();
}

void ProjectDesk::pollSaves()
{
    for (const ProjectSaves::Done &done : m_saves.poll()) {
        if (done.failure.isEmpty()) {
            m_stage.document.markSaved(done.project);
            succeeded(done.path);
            if (!done.warning.isEmpty()) {
                m_status(done.warning);
            }
            Q_EMIT saved(done.path);
        } else {
            Q_EMIT failed(done.failure, done.path);
        }
    }
}

void ProjectDesk::pollOpening()
{
    auto opened = m_opening.poll();
    if (!opened) {
        return;
    }
    if (now() == m_before) {
        requireIdleOutputs(); // one may have started meanwhile
        takeOver(*opened);
    } else {
        m_ready = std::move(opened);
        Q_EMIT ready();
    }
}

/// The hall keeps its picture until the next TAKE or OFF AIR: the congregation looks at it.
void ProjectDesk::takeOver(const ProjectOpening::Opened &opened)
{
    const Project &project = opened.project;
    if (project.profile != m_stage.document.project().profile) {
        m_sources.setBars(m_factory.testBars(streamSize(project.profile)), Sources::standIn);
    }
    for (const auto &[layer, source] : opened.sources) {
        m_sources.pool().put(layer, source);
    }
    for (auto picture = opened.pictures.cbegin(); picture != opened.pictures.cend(); ++picture) {
        m_sources.shelf().put(picture.key(), picture.value());
    }
    m_stage.program.clearStreams();
    m_onAir.streams = {};
    m_stage.document.open(project);
    if (m_isRecovery) {
        m_lastPath = opened.path;
        m_stage.document.markUnsaved();
        if (const auto taken = std::exchange(m_taken, nullptr)) {
            taken();
        }
        Q_EMIT recovered(opened.path);
        m_status("Trabajo recuperado. Guárdalo cuando quieras.");
    } else {
        succeeded(opened.path);
        if (opened.hadLogins) { // the file has them until it is saved
            m_stage.document.markUnsaved();
        }
    }
    m_mediaSearch.setMissing(opened.missing);
    Q_EMIT this->opened(opened.warnings);
}

void ProjectDesk::tellOpening()
{
    if (const bool opening = isOpening(); std::exchange(m_toldOpening, opening) != opening) {
        Q_EMIT openingChanged(opening);
    }
}

void ProjectDesk::succeeded(const QString &path)
{
    m_lastPath = path;
    m_status("Proyecto guardado/abierto. Programa comienza en negro; claves no se incluyen.");
}

} // namespace nimbara

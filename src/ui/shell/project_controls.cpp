#include "ui/shell/project_controls.h"

#include "base/i18n.h"

#include <QDateTime>
#include <QFileInfo>
#include <QLocale>
#include <QMenu>

#include <utility>

namespace nimbara {

namespace {

QString label(const char *spanish)
{
    return nimbara_i18n::tr(spanish);
}

QString fileFilter()
{
    return label("Ardenvale Vesperline (*.nimbara)");
}

} // namespace

ProjectControls::ProjectControls(Studio &studio,
    Dialogs &dialogs,
    const ErrorGuard &guard,
    Views views)
    : m_studio(studio)
    , m_dialogs(dialogs)
    , m_guard(guard)
    , m_views(views)
{
    connect(m_views.project.openButton(), &QPushButton::clicked, this, [this] {
        m_guard.run([this] { open(); });
    });
    connect(m_views.project.saveButton(), &QPushButton::clicked, this, [this] {
        m_guard.run([this] { save(); });
    });
    Document *document = &m_studio.document();
    connect(m_views.project.undoButton(), &QPushButton::clicked, document, &Document::undo);
    connect(m_views.project.redoButton(), &QPushButton::clicked, document, &Document::redo);
    connect(document, &Document::changed, this, &ProjectControls::follow);
    connectDesk();
}

void ProjectControls::connectDesk()
{
    ProjectDesk *desk = &m_studio.projects();
    connect(m_views.project.versionsButton(),
        &QPushButton::clicked,
        desk,
        &ProjectDesk::lookForBackups);
    connect(desk, &ProjectDesk::backupsFound, this, &ProjectControls::offerVersions);
    connect(desk, &ProjectDesk::openingChanged, &m_views.project, &ProjectRow::showOpening);
    // From the frame timer: a box must not hold up the tick that brought the news.
    connect(desk, &ProjectDesk::ready, this, &ProjectControls::offerReady, Qt::QueuedConnection);
    connect(desk, &ProjectDesk::opened, this, &ProjectControls::showOpened, Qt::QueuedConnection);
    const WorkSafety *safety = &m_studio.safety();
    connect(safety,
        &WorkSafety::found,
        this,
        &ProjectControls::offerRecovery,
        Qt::QueuedConnection);
    connect(safety, &WorkSafety::failed, this, [this](const Message &text) { m_guard.tell(text); });
    connect(&desk->mediaSearch(), &MediaSearch::finished, this, [this](int found, int missing) {
        const auto number = [](int value) { return Message::verbatim(QString::number(value)); };
        m_studio.status(
            { "Archivos encontrados: %1; faltan %2.", { number(found), number(missing) } });
        if (found == 0) { // another folder, then
            QMetaObject::invokeMethod(
                this,
                [this] { showOpened({}); },
                Qt::QueuedConnection);
        }
    });
    connect(desk, &ProjectDesk::saved, this, &ProjectControls::goOn, Qt::QueuedConnection);
    connect(desk, &ProjectDesk::failed, this, [this](const Message &text, const QString &path) {
        if (m_next && ProjectSaves::isSameFile(path, m_awaited)) { // not of another file
            m_next = nullptr;
            Q_EMIT waitEnded();
        }
        m_guard.tell(text);
    });
}

void ProjectControls::settleUnsaved(std::function<void()> next)
{
    if (!m_studio.document().hasUnsavedWork()) {
        next();
        return;
    }
    const QString saving = m_studio.projects().savingPath();
    if (!saving.isEmpty() && !isSettling()) {
        waitFor(saving, std::move(next));
        return;
    }
    switch (m_dialogs.saveChoice(label("Proyecto sin guardar"),
        label("Hay cambios sin guardar en el proyecto. ¿Guardarlos?"))) {
    case SaveChoice::Cancel:
        return;
    case SaveChoice::Discard:
        next();
        return;
    case SaveChoice::Save:
        break;
    }
    if (const QString path = askSavePath(); !path.isEmpty()) {
        m_studio.projects().saveAtClosing(path);
        waitFor(path, std::move(next));
    }
}

void ProjectControls::waitFor(const QString &path, std::function<void()> next)
{
    m_awaited = path;
    m_next = std::move(next);
}

/// The file that is waited for is not written yet.
bool ProjectControls::awaitsSave() const
{
    return m_next && m_studio.projects().isSaving(m_awaited);
}

/// What was edited while the file was written is asked about as well.
void ProjectControls::goOn()
{
    if (m_next && !awaitsSave()) { // an earlier save is not the one
        settleUnsaved(std::exchange(m_next, nullptr));
    }
}

void ProjectControls::open()
{
    ProjectDesk &projects = m_studio.projects();
    if (projects.isOpening()) {
        projects.cancelOpening();
        m_studio.status("Apertura cancelada.");
        return;
    }
    projects.requireIdleOutputs();
    if (m_studio.stage().program.hall()
        && !m_dialogs.question(label("Abrir proyecto"),
            label("Hay una escena en las pantallas de sala: seguirá a la vista hasta el próximo "
                  "envío. ¿Abrir otro proyecto?"))) {
        return;
    }
    settleUnsaved([this] { m_guard.run([this] { askAndOpen(); }); });
}

void ProjectControls::askAndOpen()
{
    ProjectDesk &projects = m_studio.projects();
    const QString path
        = m_dialogs.openFile(label("Abrir proyecto"), projects.lastPath(), fileFilter());
    if (!path.isEmpty()) {
        projects.openProject(path);
        m_studio.status("Abriendo proyecto…");
    }
}

QString ProjectControls::askSavePath()
{
    return m_dialogs.saveFile(label("Guardar proyecto"),
        m_studio.projects().lastPath(),
        fileFilter());
}

void ProjectControls::save()
{
    ProjectDesk &projects = m_studio.projects();
    projects.requireIdleOutputs();
    if (const QString path = askSavePath(); !path.isEmpty()) {
        projects.saveProject(path);
    }
}

void ProjectControls::offerReady()
{
    m_guard.run([this] {
        const bool wanted = m_dialogs.question(label("Abrir proyecto"),
            label("El proyecto está listo, pero has hecho cambios mientras se abría. ¿Abrirlo y "
                  "dejar esos cambios?"));
        if (wanted) {
            m_studio.projects().takeOverOpened();
        } else {
            m_studio.projects().cancelOpening();
        }
    });
}

void ProjectControls::offerRecovery(const QString &projectPath, qint64 timeMs)
{
    const QString name = projectPath.isEmpty() ? label("un proyecto sin nombre")
                                               : QFileInfo(projectPath).fileName();
    const QString when
        = QLocale().toString(QDateTime::fromMSecsSinceEpoch(timeMs), QLocale::ShortFormat);
    const bool wanted = m_dialogs.question(label("Recuperar trabajo"),
        label("El programa se cerró sin guardar: %1, %2. ¿Recuperar ese trabajo?").arg(name, when));
    if (wanted) {
        m_studio.safety().recover();
    } else {
        m_studio.safety().discard();
    }
}

void ProjectControls::offerVersions(const std::vector<ProjectBackup> &backups)
{
    QPushButton *button = m_views.project.versionsButton();
    auto *menu = new QMenu(button);
    menu->setObjectName(QStringLiteral("versionsMenu"));
    menu->setAttribute(Qt::WA_DeleteOnClose);
    if (backups.empty()) {
        menu->addAction(label("No hay versiones anteriores"))->setEnabled(false);
    }
    for (const ProjectBackup &backup : backups) {
        const QString when = QLocale().toString(backup.time, QLocale::ShortFormat);
        menu->addAction(when, this, [this, file = backup.file] { openVersion(file); });
    }
    menu->popup(button->mapToGlobal(button->rect().bottomLeft()));
}

void ProjectControls::openVersion(const QString &file)
{
    settleUnsaved(
        [this, file] { m_guard.run([this, &file] { m_studio.projects().openBackup(file); }); });
}

void ProjectControls::follow(const Change &change)
{
    const Document &document = m_studio.document();
    m_views.project.showSteps(nimbara_i18n::tr(document.undoName()),
        nimbara_i18n::tr(document.redoName()));
    if (change.everything) {
        const Project project = document.project(); // a control's signal may set another value
        m_views.project.showFormat(project.profile == StreamProfile::Portrait ? 1 : 0);
        m_views.controls.showTitle(project.title, project.band);
        m_views.audio.setGain(project.gain);
        m_views.outputs.showVideoKbits(project.videoKbits);
    }
}

/// What the opened project lacks: its layers without picture or source, then its missing files.
void ProjectControls::showOpened(const QList<Message> &warnings)
{
    QStringList lines;
    for (const Message &warning : warnings) {
        lines << nimbara_i18n::tr(warning);
    }
    const QStringList &missing = m_studio.projects().mediaSearch().missing();
    if (missing.isEmpty()) {
        if (!lines.isEmpty()) {
            m_dialogs.warning(label("Abrir proyecto"), lines.join(QLatin1Char('\n')));
        }
        return;
    }
    lines << label("Archivos que no están:") << missing;
    m_dialogs.offer(label("Abrir proyecto"),
        lines.join(QLatin1Char('\n')),
        label("Buscar…"),
        [this] { m_guard.run([this] { lookForMissing(); }); });
}

void ProjectControls::lookForMissing()
{
    ProjectDesk &projects = m_studio.projects();
    const QString folder = m_dialogs.folder(label("Carpeta donde están los archivos"),
        QFileInfo(projects.lastPath()).absolutePath());
    if (!folder.isEmpty()) {
        projects.mediaSearch().search(folder);
        m_studio.status("Buscando archivos…");
    }
}

} // namespace nimbara

#include "ui/shell/project_controls.h"

#include "base/i18n.h"

#include <QDateTime>
#include <QFileInfo>
#include <QLocale>

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
    const ProjectDesk *desk = &m_studio.projects();
    connect(desk, &ProjectDesk::openingChanged, &m_views.project, &ProjectRow::showOpening);
    // From the frame timer: a box must not hold up the tick that brought the news.
    connect(desk, &ProjectDesk::ready, this, &ProjectControls::offerReady, Qt::QueuedConnection);
    connect(desk, &ProjectDesk::opened, this, &ProjectControls::showWarnings, Qt::QueuedConnection);
    const WorkSafety *safety = &m_studio.safety();
    connect(safety,
        &WorkSafety::found,
        this,
        &ProjectControls::offerRecovery,
        Qt::QueuedConnection);
    connect(safety, &WorkSafety::failed, this, [this](const QString &text) { m_guard.tell(text); });
    connect(desk, &ProjectDesk::saved, this, [this] {
        if (m_next) {
            std::exchange(m_next, nullptr)();
        }
    });
    connect(desk, &ProjectDesk::failed, this, [this](const QString &text) {
        m_next = nullptr;
        m_guard.tell(text);
    });
}

void ProjectControls::settleUnsaved(std::function<void()> next)
{
    if (!m_studio.document().hasUnsavedWork()) {
        next();
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
        m_next = std::move(next);
        m_studio.projects().saveAtClosing(path);
    }
}

void ProjectControls::open()
{
    ProjectDesk &projects = m_studio.projects();
    if (projects.isOpening()) {
        projects.cancelOpening();
        m_studio.status(label("Apertura cancelada."));
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
        m_studio.status(label("Abriendo proyecto…"));
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
    }
}

void ProjectControls::showWarnings(const QStringList &warnings)
{
    if (!warnings.isEmpty()) {
        m_dialogs.warning(label("Abrir proyecto"), warnings.join(QLatin1Char('\n')));
    }
}

} // namespace nimbara

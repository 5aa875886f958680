#include "ui/shell/project_controls.h"

#include "base/i18n.h"

#include <QTimer>

namespace nimbara {

namespace {

QString fileFilter()
{
    return nimbara_i18n::tr("Ardenvale Vesperline (*.nimbara)");
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
    ProjectDesk &projects = m_studio.projects();
    projects.onOpened
        = [this](const Project &project, const QStringList &warnings) { show(project, warnings); };
    projects.onFailed = [this](const QString &text) {
        // From the frame timer: the box must not hold up the tick that found the failure.
        QTimer::singleShot(0, this, [this, text] { m_guard.tell(text); });
    };
}

void ProjectControls::open()
{
    ProjectDesk &projects = m_studio.projects();
    projects.requireIdleOutputs();
    const QString path
        = m_dialogs.openFile(nimbara_i18n::tr("Abrir proyecto"), projects.lastPath(), fileFilter());
    if (!path.isEmpty()) {
        projects.openProject(path);
    }
}

void ProjectControls::save()
{
    ProjectDesk &projects = m_studio.projects();
    projects.requireIdleOutputs();
    const QString path = m_dialogs.saveFile(nimbara_i18n::tr("Guardar proyecto"),
        projects.lastPath(),
        fileFilter());
    if (!path.isEmpty()) {
        projects.saveProject(path, m_views.audio.gain());
    }
}

void ProjectControls::show(const Project &project, const QStringList &warnings)
{
    m_views.project.showFormat(project.profile == StreamProfile::Portrait ? 1 : 0);
    m_views.controls.showTitle(project.title, project.band);
    m_views.audio.setGain(project.gain);
    Q_EMIT opened();
    if (!warnings.isEmpty()) {
        QTimer::singleShot(0, this, [this, warnings] {
            m_dialogs.warning(nimbara_i18n::tr("Abrir proyecto"), warnings.join(QLatin1Char('\n')));
        });
    }
}

} // namespace nimbara

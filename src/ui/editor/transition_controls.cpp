#include "ui/editor/transition_controls.h"

#include "base/i18n.h"
#include "ui/editor/transition_box.h"
#include "ui/editor/transition_row.h"

#include <QAction>

namespace nimbara {

TransitionControls::TransitionControls(Document &document,
    Dialogs &dialogs,
    ControlRow &row,
    SceneTiles &tiles)
    : m_document(document)
    , m_dialogs(dialogs)
    , m_row(row)
    , m_box(new TransitionBox(&row))
{
    connect(row.transitionButton(), &QPushButton::clicked, this, &TransitionControls::open);
    auto *entry = new QAction(nimbara_i18n::tr("Transición de la escena"), &tiles);
    connect(entry, &QAction::triggered, this, &TransitionControls::open);
    tiles.addAction(entry);

    connect(m_box, &TransitionBox::projectChosen, &m_document, &Document::setTransition);
    connect(m_box, &TransitionBox::hallChosen, &m_document, &Document::setHallTransitions);
    connect(m_box,
        &TransitionBox::sceneChosen,
        this,
        [this](const std::optional<Transition> &transition) {
            m_document.apply(SetSceneTransition { m_document.currentScene()->id, transition });
        });
    connect(m_box, &TransitionBox::cutChosen, this, [this](int ms) {
        m_document.setTransitionClip({ m_document.project().transitionClip.path, ms });
    });
    // A box of the desktop runs the event loop: not within the button's own signal.
    connect(m_box,
        &TransitionBox::clipWanted,
        this,
        &TransitionControls::askClip,
        Qt::QueuedConnection);
    connect(&m_document, &Document::changed, this, [this](const Change &change) {
        if (!change.field) { // a drag goes on undisturbed
            show();
        }
    });
    show();
}

void TransitionControls::open()
{
    m_box->openAt(*m_row.transitionButton());
}

void TransitionControls::askClip()
{
    const QString path = m_dialogs.openFile(nimbara_i18n::tr("Elegir clip..."),
        m_document.project().transitionClip.path,
        nimbara_i18n::tr("Videos (*.webm *.mp4 *.mov *.mkv)"));
    if (!path.isEmpty()) {
        m_document.setTransitionClip({ path, m_document.project().transitionClip.cutMs });
    }
    open(); // with what was chosen
}

void TransitionControls::show()
{
    const Project &project = m_document.project();
    const Scene &scene = *m_document.currentScene();
    m_row.showTransition(transitionText(transitionTo(project, m_document.editing(), scene)));
    m_box->showChoice({ project.transition,
        project.transitionClip,
        project.hallTransitions,
        scene.name,
        scene.transition });
}

} // namespace nimbara

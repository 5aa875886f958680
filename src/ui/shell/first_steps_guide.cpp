#include "ui/shell/first_steps_guide.h"

#include "studio/studio.h"
#include "ui/editor/scene_tab.h"
#include "ui/kit/page_scroll.h"
#include "ui/outputs/outputs_tab.h"
#include "ui/outputs/sources_tab.h"
#include "ui/shell/first_steps_bar.h"
#include "ui/shell/window_room.h"

#include <QMenu>
#include <QTabWidget>

namespace nimbara {

FirstStepsGuide::FirstStepsGuide(Studio &studio, Views views)
    : m_steps(studio, studio.settings())
    , m_views(views)
{
    connect(&m_steps, &FirstSteps::changed, this, &FirstStepsGuide::show);
    connect(&m_views.bar, &FirstStepsBar::stepPressed, this, &FirstStepsGuide::go);
    connect(&m_views.bar, &FirstStepsBar::closePressed, this, [this] {
        m_isAsked = false;
        m_steps.setClosed(true);
    });
    connect(&m_views.sources, &SourcesTab::firstStepsPressed, this, &FirstStepsGuide::bringBack);
    show();
}

void FirstStepsGuide::bringBack()
{
    m_isAsked = true;
    m_steps.setClosed(false);
}

void FirstStepsGuide::show()
{
    m_views.bar.showSteps(m_steps);
    const bool isWanted = !m_steps.isClosed() && (m_isAsked || !m_steps.areAllDone());
    m_views.room.showGuide(isWanted, m_isAsked);
}

void FirstStepsGuide::go(FirstStep step)
{
    const auto turnTo = [this](QWidget &tab, const char *field) {
        m_views.tabs.setCurrentIndex(tabOf(m_views.tabs, &tab));
        auto *target = tab.findChild<QWidget *>(QLatin1String(field));
        target->setFocus(Qt::OtherFocusReason);
    };
    switch (step) {
    case FirstStep::Camera:
        return turnTo(m_views.sources, "cameras");
    case FirstStep::Sound:
        return turnTo(m_views.sources, "microphones");
    case FirstStep::HallScreen:
        return turnTo(m_views.sources, "hallScreen");
    case FirstStep::Scene: {
        turnTo(m_views.scene, "sceneTemplates");
        const QPushButton *button = m_views.scene.templatesButton();
        button->menu()->popup(button->mapToGlobal(button->rect().bottomLeft()));
        return;
    }
    case FirstStep::Recording:
        return turnTo(m_views.outputs, "record");
    case FirstStep::Destination:
        return turnTo(m_views.outputs, "key1");
    }
}

} // namespace nimbara

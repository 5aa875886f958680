#pragma once

#include "studio/check/first_steps.h"

#include <QObject>

class QTabWidget;

namespace nimbara {

class FirstStepsBar;
class OutputsTab;
class SceneTab;
class SourcesTab;
class WindowRoom;

/// Leads a new operator: shows the row of first steps until all are done or it is closed, and goes
/// to where a step is done. Interface thread only.
class FirstStepsGuide : public QObject {
    Q_OBJECT
public:
    struct Views {
        FirstStepsBar &bar;
        QTabWidget &tabs;
        SceneTab &scene;
        SourcesTab &sources;
        OutputsTab &outputs;
        WindowRoom &room;
    };

    /// All must outlive the guide.
    FirstStepsGuide(Studio &studio, Views views);

    /// Closed or done, here it is again.
    void bringBack();

private:
    void show();
    void go(FirstStep step);

    FirstSteps m_steps;
    Views m_views;
    bool m_isAsked = false; ///< the operator wants to see it, whatever is done
};

} // namespace nimbara

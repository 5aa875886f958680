#pragma once

#include "studio/studio.h"
#include "ui/kit/error_guard.h"

#include <QObject>

namespace nimbara {

class SceneTab;

/// Tells in the scene tab which texts of the scene in PREVIEW are hard to read, and mends one at
/// the press of its button; where that cannot be done, it says so. All must outlive the view.
class LegibilityView : public QObject {
    Q_OBJECT
public:
    LegibilityView(Studio &studio, const ErrorGuard &guard, SceneTab &tab);

private:
    /// What is amiss with the layer's text, translated; empty: nothing.
    [[nodiscard]] QString trouble(LayerId layer) const;
    [[nodiscard]] bool canMend(LayerId layer) const;
    void show();
    void mend(LayerId layer);

    Studio &m_studio;
    const ErrorGuard &m_guard;
    SceneTab &m_tab;
};

} // namespace nimbara

#pragma once

#include "studio/edit/document.h"
#include "ui/editor/control_row.h"
#include "ui/editor/scene_tiles.h"
#include "ui/kit/dialogs.h"

#include <QObject>

namespace nimbara {

class TransitionBox;

/// Lets the operator choose transitions, of the project and of the scene in PREVIEW, and names in
/// the control row the one that comes next. Interface thread only.
class TransitionControls : public QObject {
    Q_OBJECT
public:
    TransitionControls(Document &document, Dialogs &dialogs, ControlRow &row, SceneTiles &tiles);

private:
    void open();
    void show();
    void askClip();

    Document &m_document;
    Dialogs &m_dialogs;
    ControlRow &m_row;
    TransitionBox *m_box;
};

} // namespace nimbara

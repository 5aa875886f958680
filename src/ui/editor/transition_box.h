#pragma once

#include "document/transition.h"

#include <QFrame>
#include <QPointer>
#include <QString>

#include <optional>

class QCheckBox;
class QDoubleSpinBox;
class QLabel;

namespace nimbara {

class TransitionRow;

/// What is chosen of transitions: the project's, and that of the scene in PREVIEW.
struct TransitionChoice {
    Transition project;
    TransitionClip clip;
    bool hall = false; ///< the project's is the hall's too
    QString sceneName;
    std::optional<Transition> scene; ///< none: as the project
};

/// The choice of transitions, in a box that a button opens and a click beside it or Escape closes.
/// Shows what it is given and changes nothing by itself.
class TransitionBox : public QFrame {
    Q_OBJECT
public:
    explicit TransitionBox(QWidget *parent);

    void showChoice(const TransitionChoice &choice);
    /// Opens above the widget, or below it where there is no room.
    void openAt(const QWidget &button);

Q_SIGNALS:
    void projectChosen(const nimbara::Transition &transition);
    void hallChosen(bool on);
    void sceneChosen(const std::optional<nimbara::Transition> &transition);
    /// Another file is wanted; the box has closed.
    void clipWanted();
    void cutChosen(int ms);

private:
    QWidget *makeClipRows();
    void showClip(const TransitionClip &clip);
    void place();

    TransitionRow *m_project;
    QCheckBox *m_hall;
    QLabel *m_sceneName;
    TransitionRow *m_scene;
    QLabel *m_clip;
    QDoubleSpinBox *m_cut; ///< seconds
    QWidget *m_clipRows; ///< shown where a clip is chosen
    QPointer<const QWidget> m_button; ///< opened at
};

} // namespace nimbara

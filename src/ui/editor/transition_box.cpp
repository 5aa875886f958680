#include "ui/editor/transition_box.h"

#include "base/i18n.h"
#include "ui/editor/transition_row.h"
#include "ui/kit/controls.h"

#include <QCheckBox>
#include <QDoubleSpinBox>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

namespace nimbara {

namespace {

constexpr double msOfSecond = 1000;
constexpr int boxWidth = 300; ///< pixels

TransitionRow *makeRow(const char *name, const char *spanish, bool mayBeNone)
{
    return new TransitionRow(QString::fromLatin1(name), nimbara_i18n::tr(spanish), mayBeNone);
}

} // namespace

TransitionBox::TransitionBox(QWidget *parent)
    : QFrame(parent, Qt::Popup)
    , m_project(makeRow("projectTransition", "Transición del proyecto", false))
    , m_hall(named(new QCheckBox(nimbara_i18n::tr("También en las pantallas de sala")),
          "hallTransitions"))
    , m_sceneName(makeNote(QString()))
    , m_scene(makeRow("sceneTransition", "Transición de la escena", true))
    , m_clip(makeNote(QString()))
    , m_cut(named(new QDoubleSpinBox, "clipCut", nimbara_i18n::tr("La escena nueva entra a los")))
    , m_clipRows(makeClipRows())
{
    setObjectName(QStringLiteral("transitionBox"));
    setAccessibleName(nimbara_i18n::tr("Transiciones"));
    setAttribute(Qt::WA_NoMouseReplay); // a click on the button closes the box
    m_hall->setToolTip(nimbara_i18n::tr("Sin marcar, las pantallas de sala cambian de golpe, salvo "
                                        "en las escenas con transición propia."));
    auto *column = new QVBoxLayout(this);
    column->addWidget(new QLabel(nimbara_i18n::tr("Transición del proyecto")));
    column->addWidget(m_project);
    column->addWidget(m_hall);
    column->addSpacing(8);
    column->addWidget(m_sceneName);
    column->addWidget(m_scene);
    column->addWidget(m_clipRows);
    m_clipRows->hide();
    setFixedWidth(boxWidth);

    const auto tellProject = [this](const std::optional<Transition> &transition) {
        Q_EMIT projectChosen(*transition);
    };
    connect(m_project, &TransitionRow::edited, this, tellProject);
    connect(m_scene, &TransitionRow::edited, this, &TransitionBox::sceneChosen);
    connect(m_hall, &QCheckBox::toggled, this, &TransitionBox::hallChosen);
}

QWidget *TransitionBox::makeClipRows()
{
    auto *rows = new QWidget;
    auto *column = new QVBoxLayout(rows);
    column->setContentsMargins(0, 8, 0, 0);
    QPushButton *choose = makeButton("Elegir clip...", "chooseTransitionClip");
    choose->setToolTip(
        nimbara_i18n::tr("Un video con transparencia (WebM, MOV) que tapa el corte. Se oye su "
                         "sonido."));
    column->addWidget(choose);
    column->addWidget(m_clip);
    auto *line = new QHBoxLayout;
    line->addWidget(new QLabel(nimbara_i18n::tr("La escena nueva entra a los")), 1);
    line->addWidget(m_cut);
    column->addLayout(line);
    m_cut->setSuffix(QStringLiteral(" s"));
    m_cut->setDecimals(2);
    m_cut->setSingleStep(0.05);
    m_cut->setRange(0, TransitionClip::latestCutMs / msOfSecond);
    m_cut->setKeyboardTracking(false);
    connect(choose, &QPushButton::clicked, this, [this] {
        close();
        Q_EMIT clipWanted();
    });
    connect(m_cut, &QDoubleSpinBox::valueChanged, this, [this](double seconds) {
        Q_EMIT cutChosen(static_cast<int>(std::lround(seconds * msOfSecond)));
    });
    return rows;
}

void TransitionBox::showChoice(const TransitionChoice &choice)
{
    m_project->showTransition(choice.project);
    m_scene->showTransition(choice.scene);
    m_sceneName->setText(nimbara_i18n::tr("Transición de la escena") + QStringLiteral(" “")
        + choice.sceneName + QStringLiteral("”"));
    const QSignalBlocker blocker(m_hall);
    m_hall->setChecked(choice.hall);
    showClip(choice.clip);
    const bool hasClip = choice.project.kind == TransitionKind::Clip
        || (choice.scene && choice.scene->kind == TransitionKind::Clip);
    if (m_clipRows->isHidden() == hasClip) {
        m_clipRows->setVisible(hasClip);
        place();
    }
}

void TransitionBox::showClip(const TransitionClip &clip)
{
    m_clip->setText(
        clip.path.isEmpty() ? nimbara_i18n::tr("Ningún clip") : QFileInfo(clip.path).fileName());
    const QSignalBlocker blocker(m_cut);
    if (std::lround(m_cut->value() * msOfSecond / 10) != std::lround(clip.cutMs / 10.0)) {
        m_cut->setValue(clip.cutMs / msOfSecond); // a number that is being typed stays
    }
}

void TransitionBox::openAt(const QWidget &button)
{
    m_button = &button;
    place();
    show();
    m_project->kinds()->setFocus();
}

/// Above the button, or below it where there is no room.
void TransitionBox::place()
{
    adjustSize();
    if (!m_button) {
        return;
    }
    const QRect room = m_button->screen()->availableGeometry();
    const QPoint corner = m_button->mapToGlobal(QPoint());
    const int above = corner.y() - height();
    move(std::clamp(corner.x(), room.left(), std::max(room.left(), room.right() - width())),
        above >= room.top() ? above : corner.y() + m_button->height());
}

} // namespace nimbara

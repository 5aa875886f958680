#pragma once

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QWidget>

namespace nimbara {

/// The row that sends PREVIEW to the programs: scene list, lower third, band, transition, TAKE, OFF
/// AIR.
class ControlRow : public QWidget {
    Q_OBJECT
public:
    explicit ControlRow(QWidget *parent = nullptr);

    /// Fills the scene list without its change signal.
    void showScenes(const QStringList &names, int current);
    /// Marks the scene of the list that is on air; −1: none of them.
    void showOnAir(int scene);
    /// The TAKE button names where it sends to.
    void showEditSet(bool hall);
    /// Names the transition of the scene in PREVIEW.
    void showTransition(const QString &text) { m_fade->setText(text); }
    [[nodiscard]] QComboBox *scenes() const { return m_scenes; }
    /// Opens the choice of transitions.
    [[nodiscard]] QPushButton *transitionButton() const { return m_transition; }
    /// Sets the lower third and the band, as an opened project does.
    void showTitle(const QString &title, bool band);

    [[nodiscard]] QString title() const { return m_title->text(); }
    [[nodiscard]] bool band() const { return m_band->isChecked(); }

Q_SIGNALS:
    void sceneChosen(int index);
    void titleChanged(const QString &title);
    void bandChanged(bool on);
    void fadeChanged(bool on);
    void takePressed();
    void offAirPressed();

private:
    QComboBox *m_scenes;
    QLineEdit *m_title;
    QCheckBox *m_band;
    QCheckBox *m_fade;
    QPushButton *m_transition;
    QPushButton *m_take;
    QPushButton *m_offAir;
};

} // namespace nimbara

#pragma once

#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QWidget>

namespace nimbara {

/// The window's second row: output format, project files, undo, credits.
class ProjectRow : public QWidget {
    Q_OBJECT
public:
    explicit ProjectRow(QWidget *parent = nullptr);

    /// The format can be changed only while no output runs; the tooltip says why.
    void setFormatEnabled(bool enabled);
    [[nodiscard]] int format() const { return m_format->currentIndex(); }
    /// Shows a format without the change signal.
    void showFormat(int entry);
    [[nodiscard]] QPushButton *openButton() const { return m_open; }
    /// Offers the earlier versions of the project.
    [[nodiscard]] QPushButton *versionsButton() const { return m_versions; }
    [[nodiscard]] QPushButton *saveButton() const { return m_save; }
    /// The open button calls the opening off while it is under way.
    void showOpening(bool opening);
    [[nodiscard]] QPushButton *undoButton() const { return m_undo; }
    [[nodiscard]] QPushButton *redoButton() const { return m_redo; }
    /// The step that each would undo or do again, translated; empty: none.
    void showSteps(const QString &undo, const QString &redo);
    [[nodiscard]] QPushButton *creditsButton() const { return m_credits; }
    /// Shows all keys.
    [[nodiscard]] QPushButton *keysButton() const { return m_keys; }
    /// The time of day, and for how long the service has gone on; empty while it has not.
    void showTime(const QString &now, const QString &service);
    /// The button at the end folds the header away, or shows it again.
    void showHeaderFolded(bool folded);

Q_SIGNALS:
    void formatChosen(int entry);
    void headerFolded(bool folded);

private:
    QComboBox *m_format;
    QPushButton *m_open;
    QPushButton *m_versions;
    QPushButton *m_save;
    QPushButton *m_undo;
    QPushButton *m_redo;
    QPushButton *m_credits;
    QPushButton *m_keys;
    QPushButton *m_fold;
    QLabel *m_time;
    bool m_isFolded = false;
};

} // namespace nimbara

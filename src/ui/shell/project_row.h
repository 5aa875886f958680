#pragma once

#include <QComboBox>
#include <QPushButton>
#include <QWidget>

namespace nimbara {

/// The window's second row: output format, project files, credits.
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
    [[nodiscard]] QPushButton *saveButton() const { return m_save; }
    [[nodiscard]] QPushButton *creditsButton() const { return m_credits; }

Q_SIGNALS:
    void formatChosen(int entry);

private:
    QComboBox *m_format;
    QPushButton *m_open;
    QPushButton *m_save;
    QPushButton *m_credits;
};

} // namespace nimbara

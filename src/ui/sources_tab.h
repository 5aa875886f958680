#pragma once

#include <QComboBox>
#include <QPushButton>
#include <QWidget>

class QGridLayout;

namespace nimbara {

/// "Fuentes y pantallas": devices, files, network media and the hall monitor.
class SourcesTab : public QWidget {
    Q_OBJECT
public:
    explicit SourcesTab(QWidget *parent = nullptr);

    /// Fills both device lists behind their fixed entries; the first entry becomes current.
    void showDevices(const QStringList &cameras, const QStringList &microphones);
    void showScreens(const QStringList &names);
    void setHallShown(bool shown);

    [[nodiscard]] int cameraEntry() const { return m_cameras->currentIndex(); }
    [[nodiscard]] QString cameraText() const { return m_cameras->currentText(); }
    [[nodiscard]] int audioEntry() const { return m_microphones->currentIndex(); }
    [[nodiscard]] int screenEntry() const { return m_screens->currentIndex(); }

Q_SIGNALS:
    void refreshPressed();
    void connectPressed();
    void loadImagePressed();
    void loadVideoPressed();
    void networkSourcePressed();
    void hallScreenPressed();

private:
    void layOut();
    void connectButtons();

    QComboBox *m_cameras;
    QComboBox *m_microphones;
    QComboBox *m_screens;
    QPushButton *m_refresh;
    QPushButton *m_connect;
    QPushButton *m_loadImage;
    QPushButton *m_loadVideo;
    QPushButton *m_networkSource;
    QPushButton *m_hallScreen;
};

} // namespace nimbara

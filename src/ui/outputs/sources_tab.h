#pragma once

#include "media/capture/camera_modes.h"
#include "media/capture/devices.h"
#include "studio/sources/camera_arrival.h"

#include <QComboBox>
#include <QPushButton>
#include <QWidget>

#include <optional>
#include <vector>

class QCheckBox;
class QGridLayout;
class QLabel;

namespace nimbara {

/// "Fuentes y pantallas": devices, files, network media and the hall monitor.
class SourcesTab : public QWidget {
    Q_OBJECT
public:
    explicit SourcesTab(QWidget *parent = nullptr);

    /// Fills both device lists behind their fixed entries. What is chosen stays chosen, found again
    /// as the same device; none is chosen while that device is not there, so that nothing else
    /// takes its place on air.
    void showDevices(const DeviceLists &devices);
    /// What comes in from each open camera, the principal one first. The others' modes and rates
    /// can be chosen while they are open.
    void showArrivals(const std::vector<ArrivalText> &arrivals);
    /// Fills the list of screens; the chosen one stays chosen while it is there.
    void showScreens(const QStringList &names);
    void chooseScreen(int entry) { m_screens->setCurrentIndex(entry); }
    /// `key`: what hides a hall that stands in front of the studio; empty for one that does not.
    void setHallShown(bool shown, const QString &key);

    /// Entries from 0; -1: the chosen device has left the list.
    [[nodiscard]] int cameraEntry() const { return m_cameras->currentIndex(); }
    [[nodiscard]] int audioEntry() const { return m_microphones->currentIndex(); }
    /// The mode chosen for the camera, if it offers it; none: the best.
    [[nodiscard]] std::optional<DeviceMode> cameraMode() const;
    [[nodiscard]] int screenEntry() const { return m_screens->currentIndex(); }

    /// Without its signal.
    void showCamerasOnlyShown(bool only);
    /// The cameras that keep their rate in poor light, by their identity.
    void showSteady(const QStringList &identities);
    /// The modes chosen for each camera.
    void showModes(const CameraModes &chosen);

Q_SIGNALS:
    /// Cameras that layers name are to be open only while they are seen, or always.
    void camerasOnlyShownChosen(bool only);
    /// The camera is to keep its rate in poor light, or not.
    void steadyChosen(const CaptureDevice &camera, bool steady);
    /// None: the best. It is to be kept, and takes effect when the camera is opened.
    void modeChosen(const CaptureDevice &camera, const std::optional<DeviceMode> &mode);
    /// Look at all that the service needs.
    void checkPressed();
    /// The list of first steps is wanted back.
    void firstStepsPressed();
    void refreshPressed();
    void connectPressed();
    void loadImagePressed();
    void loadVideoPressed();
    void networkSourcePressed();
    void hallScreenPressed();

private:
    /// The devices of one list and the one that was chosen, also while it is away.
    struct Listed {
        std::vector<CaptureDevice> devices;
        std::optional<CaptureDevice> chosen;
    };
    static void relist(QComboBox *list,
        const QStringList &fixed,
        Listed &listed,
        const std::vector<CaptureDevice> &devices);

    [[nodiscard]] const CaptureDevice *chosenCamera() const;
    [[nodiscard]] const CaptureDevice *adjustedCamera() const;
    void listOthers(const std::vector<ArrivalText> &arrivals);
    void adjust(int entry);
    void showCamera();
    void offerSound();
    void listModes();
    void keepMode();
    void layOut();
    void connectButtons();

    QComboBox *m_cameras;
    QLabel *m_modeLabel;
    QComboBox *m_modeOf; ///< which camera's, in the label's place while there are several
    QComboBox *m_modes;
    QCheckBox *m_steady;
    QLabel *m_arrival;
    QCheckBox *m_onlyShown;
    QLabel *m_soundNote;
    QPushButton *m_useSound;
    QComboBox *m_microphones;
    QComboBox *m_screens;
    QPushButton *m_check;
    QPushButton *m_firstSteps;
    QPushButton *m_refresh;
    QPushButton *m_connect;
    QPushButton *m_loadImage;
    QPushButton *m_loadVideo;
    QPushButton *m_networkSource;
    QPushButton *m_hallScreen;
    Listed m_listedCameras;
    Listed m_listedMicrophones;
    std::vector<CaptureDevice> m_others; ///< cameras of layers that are open
    QString m_adjusted; ///< the one of them that was chosen, by identity, also while it is away
    std::vector<DeviceMode> m_listedModes; ///< of the camera, behind the automatic choice
    CameraModes m_chosenModes;
    int m_soundEntry = -1; ///< of the camera's own sound; -1: it has none
    QStringList m_steadyCameras; ///< their identities
};

} // namespace nimbara

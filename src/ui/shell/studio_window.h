#pragma once

#include "base/clock.h"
#include "net/endpoints.h"
#include "secrets/system_key_store.h"
#include "studio/studio.h"
#include "ui/kit/dialogs.h"
#include "ui/kit/error_guard.h"
#include "ui/kit/key_map.h"

#include <QMainWindow>
#include <QPointer>
#include <QSettings>
#include <QTimer>

#include <memory>
#include <optional>

class QLabel;
class QTabWidget;

namespace nimbara {

class AudioTab;
class ControlRow;
class DestinationControls;
class CheckDialog;
class DeviceSettings;
class FirstStepsBar;
class FirstStepsGuide;
class HallControls;
class HeaderRow;
class HealthLine;
class LayerActions;
class LegibilityView;
class Monitors;
class OnAirView;
class OutputsTab;
class ProjectControls;
class ProjectRow;
class RecordingControls;
class ReturnKey;
class SceneEditor;
class SceneTab;
class SceneTiles;
class SourcesTab;
class TranslationControls;
class TranslationTab;
class TransitionControls;
class VerseControls;
class WindowKeys;
class WindowRoom;

/// What the window reaches outside itself. Tests put their own in place.
struct StudioServices {
    std::unique_ptr<Dialogs> dialogs; ///< answers its questions; none: the toolkit's boxes
    std::unique_ptr<SystemKeyStore> keychain; ///< none: the platform's store
    Endpoint openAi = openAiEndpoint();
    Endpoint apiBible = apiBibleEndpoint();
    QString dataFolder; ///< of recovery copies and backups; empty: none are kept
    QString cacheFolder; ///< of what can be made anew; empty: it is, with each run
    bool remembersDesk = false; ///< the window's place, splitters and tab, in the settings
    QString captionFolder {}; ///< of captions without a recording; empty: none are kept
};

/// The one main window. It owns the studio for the life of the process, hands it what the operator
/// did and shows what it reports. Interface thread only.
class StudioWindow : public QMainWindow {
    Q_OBJECT
public:
    /// Builds everything and starts the frame timer. `quiet`: never opens the first-run assistant.
    explicit StudioWindow(bool quiet, StudioServices services = {});
    StudioWindow(const StudioWindow &) = delete;
    StudioWindow &operator=(const StudioWindow &) = delete;
    StudioWindow(StudioWindow &&) = delete;
    StudioWindow &operator=(StudioWindow &&) = delete;
    ~StudioWindow() override;

    /// Shows one line for the operator, and logs it.
    void showStatus(const Message &message);

    [[nodiscard]] Studio &studio() { return m_studio; }

    /// Opens the first-run assistant on top of the window, which goes on under it. Finishing it is
    /// remembered; cancelling is not, so that it opens again at the next start.
    void onboarding();

    /// Ends the outputs and all that is being saved, as a close does, without a question; gives
    /// what the operator must know (`Studio::shutDown`). The programs stand still from then on.
    std::optional<Message> endWork(bool awaitsProjects = true);

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    void layOut();
    void connectStudio();
    void connectRows();
    void connectTabs();
    void connectDevices();
    void checkService();
    void connectSources();

    void showPictures(const Pictures &pictures);
    void showOutputs();
    void showHealth();
    void markTabs();
    void showLostAudio(const QString &device);
    void followDocument(const Change &change);
    void showPreviewShape();
    void setLanguage(int index);
    void restartInOtherLanguage();
    void closeLater();
    void askNotToWait();

    bool m_mayClose = false; ///< what would be lost was settled
    bool m_mayEndOutputs = false; ///< the operator said so when the close was asked for
    bool m_asksNotToWait = false; ///< its box is open
    SystemClock m_clock;
    Studio m_studio;
    QSettings &m_settings; ///< the studio's
    std::unique_ptr<Dialogs> m_dialogs;
    ErrorGuard m_guard;
    QTimer m_frameTimer;
    QTimer m_savePatience; ///< of a close that waits for a save
    KeyMap m_keys;

    HeaderRow *m_header;
    ProjectRow *m_project;
    FirstStepsBar *m_firstSteps;
    Monitors *m_monitors;
    SceneTiles *m_tiles;
    ControlRow *m_controls;
    QTabWidget *m_tabs;
    SceneTab *m_sceneTab;
    SourcesTab *m_sourcesTab;
    AudioTab *m_audioTab;
    OutputsTab *m_outputsTab;
    TranslationTab *m_translationTab;
    HealthLine *m_health;
    QLabel *m_lostAudio;
    QLabel *m_status;
    std::unique_ptr<WindowRoom> m_room;
    std::unique_ptr<FirstStepsGuide> m_guide;
    std::unique_ptr<OnAirView> m_onAir;
    std::unique_ptr<HallControls> m_hall;
    std::unique_ptr<DeviceSettings> m_deviceSettings;
    QPointer<CheckDialog> m_check;
    std::unique_ptr<ReturnKey> m_returnKey;
    std::unique_ptr<SceneEditor> m_editor;
    std::unique_ptr<LayerActions> m_layerActions;
    std::unique_ptr<LegibilityView> m_legibility;
    std::unique_ptr<DestinationControls> m_destinations;
    std::unique_ptr<RecordingControls> m_recording;
    std::unique_ptr<ProjectControls> m_projects;
    std::unique_ptr<TransitionControls> m_transitions;
    std::unique_ptr<TranslationControls> m_translation;
    std::unique_ptr<VerseControls> m_verses;
    std::unique_ptr<WindowKeys> m_windowKeys;
};

} // namespace nimbara

#include "ui/shell/studio_window.h"

#include "base/i18n.h"
#include "base/log.h"
#include "base/secret_texts.h"
#include "output/sink/destination.h"
#include "ui/captions/translation_controls.h"
#include "ui/captions/translation_tab.h"
#include "ui/captions/verse_card.h"
#include "ui/captions/verse_controls.h"
#include "ui/editor/control_row.h"
#include "ui/editor/layer_actions.h"
#include "ui/editor/legibility_view.h"
#include "ui/editor/scene_editor.h"
#include "ui/editor/scene_tab.h"
#include "ui/editor/scene_tiles.h"
#include "ui/editor/transition_controls.h"
#include "ui/kit/controls.h"
#include "ui/kit/marks.h"
#include "ui/kit/page_scroll.h"
#include "ui/kit/return_key.h"
#include "ui/kit/steady_tabs.h"
#include "ui/kit/wheel_guard.h"
#include "ui/outputs/audio_tab.h"
#include "ui/outputs/destination_controls.h"
#include "ui/outputs/device_settings.h"
#include "ui/outputs/hall_controls.h"
#include "ui/outputs/outputs_tab.h"
#include "ui/outputs/recording_controls.h"
#include "ui/outputs/sources_tab.h"
#include "ui/shell/check_dialog.h"
#include "ui/shell/credits.h"
#include "ui/shell/first_steps_bar.h"
#include "ui/shell/first_steps_guide.h"
#include "ui/shell/header_row.h"
#include "ui/shell/health_line.h"
#include "ui/shell/monitors.h"
#include "ui/shell/notice_bar.h"
#include "ui/shell/on_air_view.h"
#include "ui/shell/onboarding.h"
#include "ui/shell/project_controls.h"
#include "ui/shell/project_row.h"
#include "ui/shell/window_keys.h"
#include "ui/shell/window_room.h"

#include <QApplication>
#include <QCloseEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QProcess>
#include <QScopedValueRollback>
#include <QScreen>
#include <QTabWidget>

#include <chrono>
#include <utility>

namespace nimbara {

using namespace std::chrono_literals;

namespace {

constexpr const char *onboardingSetting = "onboarding_complete";
constexpr int lowestTabs = 130; ///< pixels
constexpr auto frameTimerInterval = 5ms;
constexpr auto savePatience = 5s; ///< of a close that waits for a save

std::array<QString, OutputsTab::slots> destinationNames()
{
    std::array<QString, OutputsTab::slots> names;
    for (std::size_t slot = 0; slot < names.size(); ++slot) {
        names.at(slot) = QString::fromUtf8(destinationPresets().at(slot).name);
    }
    return names;
}

} // namespace

StudioWindow::StudioWindow(bool quiet, StudioServices services)
    : m_studio(m_clock,
        { nullptr,
            services.openAi,
            services.apiBible,
            std::move(services.keychain),
            services.dataFolder,
            services.cacheFolder,
            DiskWatch::lookAtDisk,
            services.captionFolder })
    , m_settings(m_studio.settings())
    , m_dialogs(services.dialogs ? std::move(services.dialogs) : std::make_unique<QtDialogs>(this))
    , m_guard(*m_dialogs, [this](const Message &text) { showStatus(text); })
    , m_header(new HeaderRow)
    , m_project(new ProjectRow)
    , m_firstSteps(new FirstStepsBar)
    , m_monitors(new Monitors)
    , m_tiles(new SceneTiles(m_keys))
    , m_controls(new ControlRow)
    , m_tabs(new SteadyTabs)
    , m_sceneTab(new SceneTab)
    , m_sourcesTab(new SourcesTab)
    , m_audioTab(new AudioTab)
    , m_outputsTab(new OutputsTab(destinationNames()))
    , m_translationTab(new TranslationTab)
    , m_health(new HealthLine)
    , m_lostAudio(named(new QLabel, "lostAudio"))
    , m_status(new QLabel)
    , m_hall(std::make_unique<HallControls>(*this,
          *m_sourcesTab,
          m_keys,
          [this](const Message &text) { showStatus(text); }))
    , m_returnKey(std::make_unique<ReturnKey>(*this))
{
    m_keys.remember(m_settings);
    m_savePatience.setSingleShot(true);
    connect(&m_savePatience, &QTimer::timeout, this, &StudioWindow::askNotToWait);
    qApp->installEventFilter(new WheelGuard(this)); // before a control is polished
    layOut();
    m_editor = std::make_unique<SceneEditor>(m_studio,
        *m_dialogs,
        m_guard,
        SceneEditor::Views { *m_monitors->canvas(), *m_sceneTab, *m_controls, *m_tiles });
    m_layerActions = std::make_unique<LayerActions>(m_studio,
        m_guard,
        *m_editor,
        *m_sceneTab,
        *m_monitors->canvas(),
        m_keys);
    m_legibility = std::make_unique<LegibilityView>(m_studio, m_guard, *m_sceneTab);
    m_transitions = std::make_unique<TransitionControls>(m_studio.document(),
        *m_dialogs,
        *m_controls,
        *m_tiles);
    m_destinations
        = std::make_unique<DestinationControls>(m_studio, *m_dialogs, m_guard, *m_outputsTab);
    m_deviceSettings = std::make_unique<DeviceSettings>(m_studio, *m_sourcesTab, *m_audioTab);
    m_recording = std::make_unique<RecordingControls>(m_studio, *m_dialogs, m_guard, *m_outputsTab);
    m_projects = std::make_unique<ProjectControls>(m_studio,
        *m_dialogs,
        m_guard,
        ProjectControls::Views { *m_project, *m_controls, *m_audioTab, *m_outputsTab });
    m_onAir = std::make_unique<OnAirView>(m_studio,
        *this,
        OnAirView::Views { *m_monitors, *m_sceneTab, *m_tiles, *m_controls, *m_project });
    connectStudio();
    connect(m_projects.get(), &ProjectControls::waitEnded, &m_savePatience, &QTimer::stop);
    m_translation
        = std::make_unique<TranslationControls>(m_studio, m_guard, m_keys, *m_translationTab);
    m_verses = std::make_unique<VerseControls>(m_studio,
        m_guard,
        VerseControls::Views { *m_sceneTab, *m_editor, *m_translationTab->bible() });
    connectRows();
    connectTabs();
    connectDevices();
    m_sceneTab->properties()->isUndo = [this](const QKeyEvent &key) {
        const QKeySequence pressed = sequenceOf(key);
        return m_keys.has(KeyAction::Undo, pressed) || m_keys.has(KeyAction::Redo, pressed);
    };
    m_windowKeys = std::make_unique<WindowKeys>(*this,
        m_studio,
        m_keys,
        WindowKeys::Views { *m_project, *m_monitors, *m_sceneTab, *m_editor, *m_verses, *m_tabs });
    connect(m_hall.get(), &HallControls::keyPressed, m_windowKeys.get(), &WindowKeys::press);
    m_guide = std::make_unique<FirstStepsGuide>(m_studio,
        FirstStepsGuide::Views { *m_firstSteps,
            *m_tabs,
            *m_sceneTab,
            *m_sourcesTab,
            *m_outputsTab,
            *m_room });
    m_editor->showAll();
    if (services.remembersDesk) {
        m_room->remember(m_settings);
    }
    // Space and the arrow keys work from the first moment.
    m_monitors->canvas()->setFocus();

    m_studio.safety().lookForWork();
    m_frameTimer.setTimerType(Qt::PreciseTimer);
    m_frameTimer.setInterval(frameTimerInterval);
    connect(&m_frameTimer, &QTimer::timeout, this, [this] { m_studio.tick(); });
    m_frameTimer.start();
    if (!quiet && !m_settings.value(QLatin1String(onboardingSetting)).toBool()) {
        QTimer::singleShot(0, this, &StudioWindow::onboarding);
    }
}

StudioWindow::~StudioWindow()
{
    m_frameTimer.stop();
    m_studio.translation().pause();
    // The studio goes before the widgets that its reports touch.
    m_studio.disconnect(this);
}

void StudioWindow::layOut()
{
    resize(QSize(1320, 920).boundedTo(screen()->availableSize()));

    m_tabs->setObjectName(QStringLiteral("tabs"));
    m_tabs->setAccessibleName(nimbara_i18n::tr("Pestañas de trabajo"));
    m_tabs->setMinimumHeight(lowestTabs);
    m_tabs->addTab(new PageScroll(m_sceneTab), nimbara_i18n::tr("Escena y fuentes"));
    m_tabs->addTab(new PageScroll(m_sourcesTab), nimbara_i18n::tr("Fuentes y pantallas"));
    m_tabs->addTab(new PageScroll(m_audioTab), nimbara_i18n::tr("Audio"));
    m_tabs->addTab(new PageScroll(m_outputsTab), nimbara_i18n::tr("Transmitir y grabar"));
    m_tabs->addTab(m_translationTab, nimbara_i18n::tr("Traducción IA y Biblia"));

    m_lostAudio->setTextFormat(Qt::PlainText);
    m_lostAudio->setWordWrap(true);
    m_lostAudio->hide();
    m_status->setObjectName(QStringLiteral("status"));
    m_status->setTextFormat(Qt::PlainText);
    m_status->setWordWrap(true);

    auto *card = new VerseCard(m_studio.spokenVerses(), m_keys);
    connect(card, &VerseCard::previewPressed, this, [this] { m_verses->prepareSpoken(); });
    connect(card, &VerseCard::onAirPressed, this, [this] { m_verses->takeSpokenOnAir(); });
    auto *told = new QWidget;
    auto *line = new QHBoxLayout(told);
    line->setContentsMargins(0, 0, 0, 0);
    line->addWidget(m_status, 1);
    line->addWidget(card);
    m_room = std::make_unique<WindowRoom>(*this,
        WindowRoom::Rows { m_header,
            m_project,
            m_firstSteps,
            { m_monitors, m_health, m_tiles, m_controls },
            m_tiles,
            m_tabs,
            { m_monitors->splitter(), m_sceneTab->splitter() },
            { new NoticeBar(m_studio.notices()), m_lostAudio, told } });
}

void StudioWindow::connectStudio()
{
    connect(&m_studio, &Studio::status, this, &StudioWindow::showStatus);
    connect(&m_studio, &Studio::picturesMade, this, &StudioWindow::showPictures);
    connect(&m_studio, &Studio::outputsStepped, this, &StudioWindow::showOutputs);
    connect(&m_studio, &Studio::healthMeasured, this, &StudioWindow::showHealth);
    const AudioInput *audio = &m_studio.audio();
    connect(audio, &AudioInput::levelsMeasured, m_audioTab, &AudioTab::showLevels);
    connect(audio, &AudioInput::clipChanged, m_audioTab, &AudioTab::showClip);
    connect(audio, &AudioInput::lostChanged, this, &StudioWindow::showLostAudio);
    connect(audio, &AudioInput::gainChanged, m_audioTab, &AudioTab::setGain);
    connect(audio, &AudioInput::mutedChanged, m_audioTab, &AudioTab::showMuted);
}

void StudioWindow::connectRows()
{
    for (QWidget *chooser : std::initializer_list<QWidget *> { m_tiles,
             m_controls->scenes(),
             m_monitors->streamsButton(),
             m_monitors->hallButton() }) {
        m_layerActions->pasteAt(*chooser);
    }
    connect(m_header, &HeaderRow::languageChosen, this, &StudioWindow::setLanguage);
    connect(m_project->creditsButton(), &QPushButton::clicked, this, [this] { showCredits(this); });
    connect(m_monitors, &Monitors::editSetChosen, this, [this](int index) {
        m_studio.program().setEditSet(index);
    });
    connect(m_controls, &ControlRow::takePressed, this, [this] { m_studio.program().take(); });
    connect(m_controls, &ControlRow::offAirPressed, this, [this] { m_studio.program().offAir(); });
    connect(m_controls, &ControlRow::titleChanged, this, [this](const QString &title) {
        m_studio.document().setTitle(title);
    });
    connect(m_controls, &ControlRow::bandChanged, this, [this](bool on) {
        m_studio.document().setBand(on);
    });
    connect(m_controls, &ControlRow::fadeChanged, this, [this](bool on) {
        m_studio.stage().program.setFadeEnabled(on);
    });
    connect(m_monitors->canvas(), &Canvas::activated, this, [this] {
        m_tabs->setCurrentIndex(tabOf(*m_tabs, m_sceneTab));
    });
    Document *document = &m_studio.document();
    connect(document, &Document::changed, this, &StudioWindow::followDocument);
    connect(document, &Document::unsavedChanged, this, &QWidget::setWindowModified);
}

void StudioWindow::connectTabs()
{
    const auto guard
        = [this](auto operation) { return [this, operation] { m_guard.run(operation); }; };
    connect(m_sourcesTab, &SourcesTab::loadImagePressed, this, guard([this] {
        m_editor->addImage();
    }));
    connect(m_sourcesTab, &SourcesTab::loadVideoPressed, this, guard([this] {
        m_editor->addVideo();
    }));
    connect(m_sourcesTab, &SourcesTab::networkSourcePressed, this, guard([this] {
        m_editor->addNetworkSource();
    }));
    connect(m_recording.get(), &RecordingControls::changed, this, &StudioWindow::showOutputs);
    connect(&m_studio.streams(), &StreamDesk::changed, this, &StudioWindow::showOutputs);

    connect(m_hall.get(), &HallControls::shownChanged, &m_studio, &Studio::setHallShown);
    connect(&m_studio.notices(), &Notices::changed, this, &StudioWindow::markTabs);

    m_outputsTab->showVideoKbits(m_studio.document().project().videoKbits);
    connect(m_outputsTab, &OutputsTab::videoKbitsChanged, this, [this](int kbits) {
        m_studio.document().setVideoKbits(kbits);
    });
    connect(m_audioTab, &AudioTab::gainChanged, this, [this](int percent) {
        m_guard.run([this, percent] {
            m_studio.audio().setGainPercent(percent);
            m_studio.document().setGain(percent);
        });
    });
    connect(m_audioTab, &AudioTab::mutePressed, this, [this] {
        AudioInput &audio = m_studio.audio();
        audio.setMuted(!audio.gainState().muted);
    });
    connect(m_audioTab, &AudioTab::sourceLevelChanged, this, [this](int percent) {
        m_studio.programAudio().levels().source = percent;
    });
    connect(m_audioTab, &AudioTab::voiceLevelChanged, this, [this](int percent) {
        m_studio.programAudio().levels().voice = percent;
    });
}

void StudioWindow::checkService()
{
    if (!m_check) {
        auto *check = new ServiceCheck(m_studio, this);
        m_check = new CheckDialog(*check, *m_dialogs, this);
        m_check->setAttribute(Qt::WA_DeleteOnClose);
        connect(m_check, &QObject::destroyed, check, &QObject::deleteLater);
    }
    m_check->show();
    m_check->raise();
    m_check->begin();
}

void StudioWindow::connectDevices()
{
    const DeviceConnection *devices = &m_studio.devices();
    connect(devices, &DeviceConnection::devicesFound, m_sourcesTab, &SourcesTab::showDevices);
    connect(devices,
        &DeviceConnection::devicesFound,
        m_sceneTab->properties(),
        &PropertiesPanel::showCameras);
    connect(devices, &DeviceConnection::arrivalsChanged, m_sourcesTab, &SourcesTab::showArrivals);
    connect(devices, &DeviceConnection::permissionAnswered, this, &StudioWindow::connectSources);
    connect(m_sourcesTab, &SourcesTab::checkPressed, this, &StudioWindow::checkService);
    connect(m_sourcesTab, &SourcesTab::refreshPressed, this, [this] {
        m_studio.devices().refreshDevices();
    });
    connect(m_sourcesTab, &SourcesTab::connectPressed, this, &StudioWindow::connectSources);
    connect(m_project, &ProjectRow::formatChosen, this, [this](int entry) {
        m_guard.run([this, entry] {
            m_studio.changeProfile(entry == 1 ? StreamProfile::Portrait : StreamProfile::Landscape);
        });
        const StreamProfile profile = m_studio.document().project().profile;
        m_project->showFormat(profile == StreamProfile::Portrait ? 1 : 0); // it may be refused
        showPreviewShape();
    });
    m_studio.devices().refreshDevices();
}

void StudioWindow::connectSources()
{
    m_guard.run([this] {
        m_studio.devices().connectSources({ m_sourcesTab->cameraEntry(),
            m_sourcesTab->audioEntry(),
            m_sourcesTab->cameraMode() });
    });
}

void StudioWindow::onboarding()
{
    auto *assistant = new Onboarding(m_studio.secrets(), *m_dialogs, this);
    assistant->setAttribute(Qt::WA_DeleteOnClose);
    connect(assistant, &Onboarding::keyTyped, &m_studio.translation().key(), &ServiceKey::setText);
    connect(assistant, &QDialog::accepted, this, [this] {
        m_settings.setValue(QLatin1String(onboardingSetting), true);
        m_settings.sync();
    });
    assistant->open();
}

void StudioWindow::showStatus(const Message &message)
{
    const QString text = withoutSecrets(nimbara_i18n::tr(message));
    m_status->setText(text);
    logLine(QStringLiteral("UI: ") + text);
}

/// Stays until the input is back, whatever the status line tells meanwhile.
void StudioWindow::showLostAudio(const QString &device)
{
    m_lostAudio->setText(nimbara_i18n::tr(
        Message("SIN AUDIO: se perdió %1. Se busca cada 3 segundos y vuelve por sí sola.",
            { Message::verbatim(device) })));
    m_lostAudio->setVisible(!device.isEmpty());
}

void StudioWindow::showPictures(const Pictures &pictures)
{
    m_monitors->canvas()->setFrame(pictures.preview);
    m_monitors->streams()->setFrame(pictures.streams);
    m_monitors->hall()->setFrame(pictures.hall);
    m_hall->setFrame(pictures.hall);
    m_onAir->follow();
}

void StudioWindow::showOutputs()
{
    m_recording->showRecording();
    m_destinations->showDestinations();
    m_project->setFormatEnabled(!m_studio.hasOutputs());
    m_onAir->followOutputs();
}

void StudioWindow::showHealth()
{
    m_health->show(m_studio.health().line());
    m_destinations->showHealth();
    m_onAir->showTime();
}

/// What stopped in a tab that is not in view is marked there until it is read.
void StudioWindow::markTabs()
{
    const bool marked = !m_studio.notices().all().empty();
    const int tab = tabOf(*m_tabs, m_outputsTab);
    m_tabs->setTabIcon(tab, marked ? alarmMark() : QIcon());
    m_tabs->setTabToolTip(tab, marked ? nimbara_i18n::tr("Hay un aviso sin leer") : QString());
}

void StudioWindow::followDocument(const Change &change)
{
    if (change.current || change.settings || change.everything) {
        const bool hall = m_studio.document().editingHall();
        m_controls->showEditSet(hall);
        m_monitors->showEditSet(hall);
        showPreviewShape();
    }
}

void StudioWindow::showPreviewShape()
{
    const FrameSize size = m_studio.stage().previewFrame();
    const FrameSize streams = m_studio.stage().streamFrame();
    m_monitors->showShapes(static_cast<double>(size.width) / size.height,
        static_cast<double>(streams.width) / streams.height);
}

void StudioWindow::setLanguage(int index)
{
    const QString chosen = index == 1 ? QStringLiteral("en") : QStringLiteral("es");
    if (chosen == nimbara_i18n::language()) {
        m_settings.setValue(QStringLiteral("language"), chosen); // an earlier choice is taken back
        m_settings.sync();
        return;
    }
    if (m_studio.hasOutputs()) {
        showStatus("Detén las salidas antes de cambiar el idioma.");
        m_header->showCurrentLanguage();
        return;
    }
    m_settings.setValue(QStringLiteral("language"), chosen);
    m_settings.sync();
    const bool restart = m_dialogs->question(nimbara_i18n::tr("Idioma"),
        nimbara_i18n::tr("El idioma cambiará al volver a abrir la app. ¿Reiniciar ahora?"));
    if (restart) {
        m_projects->settleUnsaved([this] { restartInOtherLanguage(); });
    }
}

void StudioWindow::restartInOtherLanguage()
{
    QProcess::startDetached(QCoreApplication::applicationFilePath(), {});
    m_mayClose = true;
    close();
}

/// Not within the event that asked for it: the toolkit would take the window for closed already.
void StudioWindow::closeLater()
{
    m_mayClose = true;
    m_savePatience.stop();
    if (QWidget *box = QApplication::activeModalWidget(); box != nullptr && m_asksNotToWait) {
        box->close(); // what it asks is settled
    }
    QMetaObject::invokeMethod(this, &QWidget::close, Qt::QueuedConnection);
}

/// A share that has gone away holds nobody up. The save may be done before the answer.
void StudioWindow::askNotToWait()
{
    if (!m_projects->isSettling() || m_asksNotToWait) {
        return;
    }
    const QScopedValueRollback asking(m_asksNotToWait, true);
    if (m_dialogs->question(nimbara_i18n::tr("Cerrar"),
            nimbara_i18n::tr("El proyecto todavía se está guardando. ¿Cerrar sin esperar?"))
        && m_projects->isSettling()) {
        closeLater();
    }
}

void StudioWindow::closeEvent(QCloseEvent *event)
{
    // Also those that began while a save was waited for.
    m_mayEndOutputs = m_studio.hasOutputs()
        && ((m_mayClose && m_mayEndOutputs)
            || m_dialogs->question(nimbara_i18n::tr("Cerrar"),
                nimbara_i18n::tr("Hay salidas activas. ¿Detenerlas y cerrar?")));
    if (m_studio.hasOutputs() && !m_mayEndOutputs) {
        m_mayClose = false;
        event->ignore();
        return;
    }
    if (!m_mayClose && m_studio.document().hasUnsavedWork()) {
        event->ignore();
        if (m_projects->isSettling()) {
            askNotToWait();
            return;
        }
        m_projects->settleUnsaved([this] { closeLater(); });
        if (m_projects->isSettling()) {
            m_savePatience.start(savePatience);
        }
        return;
    }
    if (!m_projects->isSettling()) {
        m_studio.safety().giveUp(); // saved, or given up by the operator
    }
    const bool awaitsProjects = !m_projects->isSettling(); // else the operator does not wait
    if (const auto lost = endWork(awaitsProjects)) {
        m_dialogs->tellAtEnd(nimbara_i18n::tr("Cerrar"), nimbara_i18n::tr(*lost));
    }
    event->accept();
}

std::optional<Message> StudioWindow::endWork(bool awaitsProjects)
{
    m_room->keep();
    m_frameTimer.stop();
    m_guard.withoutBoxes();
    std::optional<Message> lost = m_studio.shutDown(awaitsProjects);
    m_hall->hide();
    return lost;
}

} // namespace nimbara

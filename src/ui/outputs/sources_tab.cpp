#include "ui/outputs/sources_tab.h"

#include "base/i18n.h"
#include "ui/kit/controls.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QSignalBlocker>

#include <algorithm>

namespace nimbara {

namespace {

constexpr int fixedCameras = 1; ///< entries that are no devices
constexpr const char *showHall = "Pantallas de sala en el monitor elegido";
constexpr const char *hideHall = "Ocultar pantallas de sala";

} // namespace

SourcesTab::SourcesTab(QWidget *parent)
    : QWidget(parent)
    , m_cameras(named(new QComboBox, "cameras", nimbara_i18n::tr("Cámara / capturadora")))
    , m_modes(named(new QComboBox, "cameraModes", nimbara_i18n::tr("Modo de la cámara")))
    , m_steady(
          named(new QCheckBox(nimbara_i18n::tr("Mantener el ritmo con poca luz")), "steadyCamera"))
    , m_arrival(named(new QLabel, "cameraArrival"))
    , m_onlyShown(named(
          new QCheckBox(nimbara_i18n::tr("Abrir las cámaras de las capas solo mientras se ven")),
          "camerasOnlyShown"))
    , m_microphones(
          named(new QComboBox, "microphones", nimbara_i18n::tr("Audio de consola / capturadora")))
    , m_screens(named(new QComboBox, "screens", nimbara_i18n::tr("Pantallas de sala")))
    , m_check(makeButton("Revisar antes del servicio…", "checkService"))
    , m_firstSteps(makeButton("Primeros pasos", "showFirstSteps"))
    , m_refresh(makeButton("Actualizar dispositivos", "refreshDevices"))
    , m_connect(makeButton("Conectar fuentes", "connectSources"))
    , m_loadImage(makeButton("Cargar imagen", "loadImage"))
    , m_loadVideo(makeButton("Cargar video", "loadVideo"))
    , m_networkSource(makeButton("Fuente de red", "networkSource"))
    , m_hallScreen(makeButton(showHall, "hallScreen"))
{
    showDevices({});
    layOut();
    connectButtons();
}

void SourcesTab::layOut()
{
    auto *grid = new QGridLayout(this);
    grid->addWidget(new QLabel(nimbara_i18n::tr("Cámara / capturadora")), 0, 0);
    grid->addWidget(m_cameras, 0, 1);
    grid->addWidget(m_refresh, 0, 2);
    grid->addWidget(new QLabel(nimbara_i18n::tr("Modo de la cámara")), 1, 0);
    grid->addWidget(m_modes, 1, 1);
    grid->addWidget(m_steady, 1, 2);
    grid->addWidget(m_arrival, 2, 0, 1, 3);
    m_arrival->setWordWrap(true);
    m_arrival->hide();
    grid->addWidget(new QLabel(nimbara_i18n::tr("Audio de consola / capturadora")), 3, 0);
    grid->addWidget(m_microphones, 3, 1);
    grid->addWidget(m_connect, 3, 2);
    grid->addWidget(m_loadImage, 4, 0);
    grid->addWidget(m_loadVideo, 4, 1);
    grid->addWidget(m_networkSource, 4, 2);
    auto *wishes = new QHBoxLayout;
    wishes->addWidget(m_onlyShown, 1);
    wishes->addWidget(m_firstSteps);
    grid->addLayout(wishes, 5, 0, 1, 2);
    grid->addWidget(m_check, 5, 2);
    grid->addWidget(m_screens, 6, 0, 1, 2);
    grid->addWidget(m_hallScreen, 6, 2);
    grid->setColumnStretch(1, 1);
    grid->setRowStretch(7, 1);
}

void SourcesTab::connectButtons()
{
    connect(m_cameras, &QComboBox::currentIndexChanged, this, &SourcesTab::showCamera);
    connect(m_steady, &QCheckBox::clicked, this, [this](bool steady) {
        Q_EMIT steadyChosen(*chosenCamera(), steady);
    });
    connect(m_modes, &QComboBox::activated, this, &SourcesTab::keepMode);
    connect(m_onlyShown, &QCheckBox::toggled, this, &SourcesTab::camerasOnlyShownChosen);
    connect(m_check, &QPushButton::clicked, this, &SourcesTab::checkPressed);
    connect(m_firstSteps, &QPushButton::clicked, this, &SourcesTab::firstStepsPressed);
    connect(m_refresh, &QPushButton::clicked, this, &SourcesTab::refreshPressed);
    connect(m_connect, &QPushButton::clicked, this, &SourcesTab::connectPressed);
    connect(m_loadImage, &QPushButton::clicked, this, &SourcesTab::loadImagePressed);
    connect(m_loadVideo, &QPushButton::clicked, this, &SourcesTab::loadVideoPressed);
    connect(m_networkSource, &QPushButton::clicked, this, &SourcesTab::networkSourcePressed);
    connect(m_hallScreen, &QPushButton::clicked, this, &SourcesTab::hallScreenPressed);
}

void SourcesTab::showDevices(const DeviceLists &devices)
{
    relist(m_cameras, { nimbara_i18n::tr("Barras de prueba") }, m_listedCameras, devices.video);
    relist(m_microphones,
        { nimbara_i18n::tr("Sin entrada / silencio"),
            nimbara_i18n::tr("Señal de prueba (sin altavoces)") },
        m_listedMicrophones,
        devices.audio);
    showCamera();
}

void SourcesTab::showCamerasOnlyShown(bool only)
{
    const QSignalBlocker blocker(m_onlyShown);
    m_onlyShown->setChecked(only);
}

void SourcesTab::showSteady(const QStringList &identities)
{
    m_steadyCameras = identities;
    showCamera();
}

const CaptureDevice *SourcesTab::chosenCamera() const
{
    const int place = m_cameras->currentIndex() - fixedCameras;
    return place >= 0 ? &m_listedCameras.devices.at(place) : nullptr;
}

void SourcesTab::showCamera()
{
    const CaptureDevice *camera = chosenCamera();
    m_steady->setEnabled(camera != nullptr && !camera->file.isEmpty());
    m_steady->setChecked(camera != nullptr && m_steadyCameras.contains(camera->identity));
    listModes();
}

void SourcesTab::listModes()
{
    const CaptureDevice *camera = chosenCamera();
    m_listedModes = camera != nullptr ? camera->modes : std::vector<DeviceMode> {};
    QStringList texts { nimbara_i18n::tr("Automático") };
    int current = 0;
    for (const DeviceMode &mode : m_listedModes) {
        if (m_chosenModes.contains(camera->identity)
            && m_chosenModes.value(camera->identity) == mode) {
            current = static_cast<int>(texts.size());
        }
        texts << modeText(mode);
    }
    refill(m_modes, texts, current);
    m_modes->setEnabled(!m_listedModes.empty());
}

void SourcesTab::keepMode()
{
    const QString identity = chosenCamera()->identity;
    if (const auto mode = cameraMode()) {
        m_chosenModes.insert(identity, *mode);
    } else {
        m_chosenModes.remove(identity);
    }
}

std::optional<DeviceMode> SourcesTab::cameraMode() const
{
    const int place = m_modes->currentIndex() - 1;
    return place >= 0 ? std::optional(m_listedModes.at(place)) : std::nullopt;
}

void SourcesTab::relist(QComboBox *list,
    const QStringList &fixed,
    Listed &listed,
    const std::vector<CaptureDevice> &devices)
{
    int current = list->currentIndex();
    const int first = static_cast<int>(fixed.size());
    if (current >= 0) { // otherwise the chosen one was away already
        const bool isDevice = current >= first;
        listed.chosen = isDevice ? std::optional(listed.devices.at(current - first)) : std::nullopt;
    }
    if (listed.chosen) {
        const CaptureDevice *found = findAgain(devices, *listed.chosen);
        current = found == nullptr ? -1 : first + static_cast<int>(found - devices.data());
        list->setPlaceholderText(listed.chosen->name);
    }
    QStringList names = fixed;
    for (const CaptureDevice &device : devices) {
        names << device.name;
    }
    listed.devices = devices;
    refill(list, names, listed.chosen ? current : std::max(current, 0));
}

void SourcesTab::showArrival(const Message &text)
{
    m_arrival->setText(nimbara_i18n::tr(text));
    m_arrival->setVisible(!text.isEmpty());
}

void SourcesTab::showScreens(const QStringList &names)
{
    const int chosen = static_cast<int>(names.indexOf(m_screens->currentText()));
    refill(m_screens, names, std::max(chosen, 0));
}

void SourcesTab::setHallShown(bool shown, const QString &key)
{
    const QString text = nimbara_i18n::tr(shown ? hideHall : showHall);
    m_hallScreen->setText(key.isEmpty() ? text : QStringLiteral("%1 (%2)").arg(text, key));
}

} // namespace nimbara

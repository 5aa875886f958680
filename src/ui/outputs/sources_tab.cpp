#include "ui/outputs/sources_tab.h"

#include "base/i18n.h"
#include "media/capture/usb_place.h"
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
constexpr int fixedInputs = 2;
constexpr int shortName = 12; ///< characters of a camera that are seen in any case
constexpr const char *showHall = "Pantallas de sala en el monitor elegido";
constexpr const char *hideHall = "Ocultar pantallas de sala";

} // namespace

SourcesTab::SourcesTab(QWidget *parent)
    : QWidget(parent)
    , m_cameras(named(new QComboBox, "cameras", nimbara_i18n::tr("Cámara / capturadora")))
    , m_modeLabel(new QLabel(nimbara_i18n::tr("Modo de la cámara")))
    , m_modeOf(named(new QComboBox, "adjustedCamera", nimbara_i18n::tr("Cámara que se ajusta")))
    , m_modes(named(new QComboBox, "cameraModes", nimbara_i18n::tr("Modo de la cámara")))
    , m_steady(
          named(new QCheckBox(nimbara_i18n::tr("Mantener el ritmo con poca luz")), "steadyCamera"))
    , m_arrival(named(new QLabel, "cameraArrival"))
    , m_onlyShown(named(
          new QCheckBox(nimbara_i18n::tr("Abrir las cámaras de las capas solo mientras se ven")),
          "camerasOnlyShown"))
    , m_soundNote(named(makeNote(QString()), "cameraSound"))
    , m_useSound(makeButton("Usar su sonido", "useCameraSound"))
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
    for (QLabel *told : { m_arrival, m_soundNote }) {
        told->setTextFormat(Qt::PlainText); // names of devices
    }
    layOut();
    connectButtons();
    showDevices({});
}

void SourcesTab::layOut()
{
    auto *grid = new QGridLayout(this);
    grid->addWidget(new QLabel(nimbara_i18n::tr("Cámara / capturadora")), 0, 0);
    grid->addWidget(m_cameras, 0, 1);
    grid->addWidget(m_refresh, 0, 2);
    grid->addWidget(m_modeLabel, 1, 0);
    grid->addWidget(m_modeOf, 1, 0);
    m_modeOf->hide();
    m_modeOf->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    m_modeOf->setMinimumContentsLength(shortName);
    grid->addWidget(m_modes, 1, 1);
    grid->addWidget(m_steady, 1, 2);
    grid->addWidget(m_arrival, 2, 0, 1, 3);
    m_arrival->setWordWrap(true);
    m_arrival->hide();
    grid->addWidget(m_soundNote, 3, 0, 1, 2);
    grid->addWidget(m_useSound, 3, 2);
    grid->addWidget(new QLabel(nimbara_i18n::tr("Audio de consola / capturadora")), 4, 0);
    grid->addWidget(m_microphones, 4, 1);
    grid->addWidget(m_connect, 4, 2);
    grid->addWidget(m_loadImage, 5, 0);
    grid->addWidget(m_loadVideo, 5, 1);
    grid->addWidget(m_networkSource, 5, 2);
    auto *wishes = new QHBoxLayout;
    wishes->addWidget(m_onlyShown, 1);
    wishes->addWidget(m_firstSteps);
    grid->addLayout(wishes, 6, 0, 1, 2);
    grid->addWidget(m_check, 6, 2);
    grid->addWidget(m_screens, 7, 0, 1, 2);
    grid->addWidget(m_hallScreen, 7, 2);
    grid->setColumnStretch(1, 1);
    grid->setRowStretch(8, 1);
}

void SourcesTab::connectButtons()
{
    connect(m_cameras, &QComboBox::currentIndexChanged, this, &SourcesTab::showCamera);
    connect(m_steady, &QCheckBox::clicked, this, [this](bool steady) {
        Q_EMIT steadyChosen(*adjustedCamera(), steady);
    });
    connect(m_modeOf, &QComboBox::activated, this, &SourcesTab::adjust);
    connect(m_microphones, &QComboBox::currentIndexChanged, this, &SourcesTab::offerSound);
    connect(m_useSound, &QPushButton::clicked, this, [this] {
        m_microphones->setFocus(); // the button goes
        m_microphones->setCurrentIndex(m_soundEntry);
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

/// Whose mode and rate are shown: the chosen one's, or that of a camera of layers.
const CaptureDevice *SourcesTab::adjustedCamera() const
{
    const int other = m_modeOf->currentIndex() - 1;
    return other >= 0 ? &m_others.at(other) : chosenCamera();
}

void SourcesTab::adjust(int entry)
{
    m_adjusted = entry > 0 ? m_others.at(entry - 1).identity : QString();
    showCamera();
}

void SourcesTab::showCamera()
{
    offerSound();
    const CaptureDevice *camera = adjustedCamera();
    m_steady->setEnabled(camera != nullptr && !camera->file.isEmpty());
    m_steady->setChecked(camera != nullptr && m_steadyCameras.contains(camera->identity));
    listModes();
}

/// Never chosen by itself: the mixer may sound better.
void SourcesTab::offerSound()
{
    const CaptureDevice *camera = chosenCamera();
    const std::vector<CaptureDevice> &inputs = m_listedMicrophones.devices;
    const CaptureDevice *sound = camera != nullptr ? soundBeside(*camera, inputs) : nullptr;
    m_soundEntry = sound != nullptr ? fixedInputs + static_cast<int>(sound - inputs.data()) : -1;
    const bool isOffered = sound != nullptr && m_soundEntry != m_microphones->currentIndex();
    if (isOffered) {
        m_soundNote->setText(nimbara_i18n::tr(Message("\"%1\" trae también sonido: \"%2\"",
            { Message::verbatim(camera->name), Message::verbatim(sound->name) })));
    }
    m_soundNote->setVisible(isOffered);
    m_useSound->setVisible(isOffered);
}

void SourcesTab::showModes(const CameraModes &chosen)
{
    m_chosenModes = chosen;
    showCamera();
}

void SourcesTab::listModes()
{
    const CaptureDevice *camera = adjustedCamera();
    m_listedModes = camera != nullptr ? camera->modes : std::vector<DeviceMode> {};
    const auto chosen = camera != nullptr ? m_chosenModes.chosen(*camera) : std::nullopt;
    QStringList texts { nimbara_i18n::tr("Automático") };
    int current = 0;
    for (const DeviceMode &mode : m_listedModes) {
        if (chosen == mode) {
            current = static_cast<int>(texts.size());
        }
        texts << modeText(mode);
    }
    refill(m_modes, texts, current);
    m_modes->setEnabled(!m_listedModes.empty());
}

void SourcesTab::keepMode()
{
    const int place = m_modes->currentIndex() - 1;
    const auto mode = place >= 0 ? std::optional(m_listedModes.at(place)) : std::nullopt;
    m_chosenModes.choose(*adjustedCamera(), mode);
    Q_EMIT modeChosen(*adjustedCamera(), mode);
}

std::optional<DeviceMode> SourcesTab::cameraMode() const
{
    const CaptureDevice *camera = chosenCamera();
    return camera != nullptr ? m_chosenModes.chosen(*camera) : std::nullopt;
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
        list->setPlaceholderText(nameAmongTwins(*listed.chosen));
    }
    QStringList names = fixed;
    for (const CaptureDevice &device : devices) {
        names << nameAmongTwins(device);
    }
    listed.devices = devices;
    refill(list, names, listed.chosen ? current : std::max(current, 0));
}

void SourcesTab::showArrivals(const std::vector<ArrivalText> &arrivals)
{
    QStringList lines;
    for (const ArrivalText &each : arrivals) {
        const QString text = nimbara_i18n::tr(each.text);
        if (!text.isEmpty()) {
            lines << (arrivals.size() > 1 && each.device
                    ? QStringLiteral("%1: %2").arg(nameAmongTwins(*each.device), text)
                    : text);
        }
    }
    m_arrival->setText(lines.join(QLatin1Char('\n')));
    m_arrival->setVisible(!lines.isEmpty());
    listOthers(arrivals);
}

/// A list that stays the same may be open.
void SourcesTab::listOthers(const std::vector<ArrivalText> &arrivals)
{
    std::vector<CaptureDevice> others;
    for (std::size_t at = 1; at < arrivals.size(); ++at) {
        others.push_back(*arrivals[at].device);
    }
    if (std::equal(others.begin(), others.end(), m_others.begin(), m_others.end(), isSame)) {
        return;
    }
    m_others = std::move(others);
    QStringList texts { nimbara_i18n::tr("Modo de la cámara") };
    int current = 0;
    for (const CaptureDevice &other : m_others) {
        if (other.identity == m_adjusted) {
            current = static_cast<int>(texts.size());
        }
        texts << nimbara_i18n::tr(
            Message("Modo de %1", { Message::verbatim(nameAmongTwins(other)) }));
    }
    refill(m_modeOf, texts, current);
    m_modeOf->setVisible(!m_others.empty());
    m_modeLabel->setVisible(m_others.empty());
    showCamera();
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

#include "ui/outputs/sources_tab.h"

#include "base/i18n.h"
#include "ui/kit/controls.h"

#include <QGridLayout>
#include <QLabel>

#include <algorithm>

namespace nimbara {

namespace {

constexpr const char *showHall = "Pantallas de sala en el monitor elegido";
constexpr const char *hideHall = "Ocultar pantallas de sala";
constexpr const char *hideWithEscape = "Ocultar pantallas de sala (Esc)";

} // namespace

SourcesTab::SourcesTab(QWidget *parent)
    : QWidget(parent)
    , m_cameras(named(new QComboBox, "cameras", nimbara_i18n::tr("Cámara / capturadora")))
    , m_microphones(
          named(new QComboBox, "microphones", nimbara_i18n::tr("Audio de consola / capturadora")))
    , m_screens(named(new QComboBox, "screens", nimbara_i18n::tr("Pantallas de sala")))
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
    grid->addWidget(new QLabel(nimbara_i18n::tr("Audio de consola / capturadora")), 1, 0);
    grid->addWidget(m_microphones, 1, 1);
    grid->addWidget(m_connect, 1, 2);
    grid->addWidget(m_loadImage, 2, 0);
    grid->addWidget(m_loadVideo, 2, 1);
    grid->addWidget(m_networkSource, 2, 2);
    grid->addWidget(m_screens, 4, 0, 1, 2);
    grid->addWidget(m_hallScreen, 4, 2);
    grid->setColumnStretch(1, 1);
    grid->setRowStretch(5, 1);
}

void SourcesTab::connectButtons()
{
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

void SourcesTab::showScreens(const QStringList &names)
{
    const int chosen = static_cast<int>(names.indexOf(m_screens->currentText()));
    refill(m_screens, names, std::max(chosen, 0));
}

void SourcesTab::setHallShown(bool shown, bool covers)
{
    m_hallScreen->setText(nimbara_i18n::tr(!shown ? showHall : covers ? hideWithEscape : hideHall));
}

} // namespace nimbara

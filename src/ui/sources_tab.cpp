#include "ui/sources_tab.h"

#include "app/i18n.h"
#include "ui/controls.h"

#include <QGridLayout>
#include <QLabel>

#include <algorithm>

namespace nimbara {

namespace {

constexpr const char *showHall = "Pantallas de sala en el monitor elegido";
constexpr const char *hideHall = "Ocultar pantallas de sala (Esc)";

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
    showDevices({}, {});
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

void SourcesTab::showDevices(const QStringList &cameras, const QStringList &microphones)
{
    refill(m_cameras, QStringList { nimbara_i18n::tr("Barras de prueba") } + cameras, 0);
    refill(m_microphones,
        QStringList { nimbara_i18n::tr("Sin entrada / silencio"),
            nimbara_i18n::tr("Señal de prueba (sin altavoces)") }
            + microphones,
        0);
}

void SourcesTab::showScreens(const QStringList &names)
{
    const int last = static_cast<int>(names.size()) - 1;
    refill(m_screens, names, std::clamp(m_screens->currentIndex(), 0, std::max(last, 0)));
}

void SourcesTab::setHallShown(bool shown)
{
    m_hallScreen->setText(nimbara_i18n::tr(shown ? hideHall : showHall));
}

} // namespace nimbara

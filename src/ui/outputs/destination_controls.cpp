#include "ui/outputs/destination_controls.h"

#include "base/i18n.h"
#include "ui/outputs/minute_curve.h"

namespace nimbara {

static_assert(OutputsTab::slots == destinationCount);

DestinationControls::DestinationControls(Studio &studio,
    Dialogs &dialogs,
    const ErrorGuard &guard,
    OutputsTab &tab)
    : m_desk(studio.streams())
    , m_health(studio.health())
    , m_lineTest(studio.lineTest())
    , m_dialogs(dialogs)
    , m_tab(tab)
{
    showDestinations();
    tab.showReconnects(m_desk.reconnects());
    const auto showEncoder
        = [this] { m_tab.showEncoder(m_desk.usesHardware(), m_desk.encoderText()); };
    showEncoder();
    connectTab();
    connectLineTest(guard);
    connect(&m_desk, &StreamDesk::changed, this, &DestinationControls::showDestination);
    connect(&m_desk, &StreamDesk::savingChanged, &tab, &OutputsTab::showSaving);
    connect(&m_desk, &StreamDesk::encoderChanged, this, showEncoder);
    connect(&m_desk, &StreamDesk::failed, this, [&guard](const Message &reason) {
        guard.tell(reason);
    });
}

void DestinationControls::connectLineTest(const ErrorGuard &guard)
{
    connect(&m_tab, &OutputsTab::lineTestPressed, this, &DestinationControls::toggleLineTest);
    connect(&m_lineTest, &LineTest::changed, this, [this] {
        m_tab.showLineTest(m_lineTest.isRunning(), m_lineTest.text());
    });
    connect(&m_lineTest, &LineTest::failed, this, [&guard](const Message &reason) {
        guard.tell(reason);
    });
}

/// The box holds up the window's other buttons, not the program.
void DestinationControls::toggleLineTest()
{
    if (m_lineTest.isRunning()) {
        m_lineTest.cancel();
        return;
    }
    const QStringList names = m_lineTest.publicNames();
    if (names.isEmpty()) {
        m_lineTest.start();
        return;
    }
    m_dialogs.offer(nimbara_i18n::tr("Prueba de conexión"),
        nimbara_i18n::tr("Durante 10 s se publica ruido en %1: lo verá quien mire allí. Otra forma "
                         "de probarlos no hay.")
            .arg(names.join(QStringLiteral(", "))),
        nimbara_i18n::tr("Publicar y probar"),
        [this] { m_lineTest.start(); });
}

void DestinationControls::connectTab()
{
    const OutputsTab *tab = &m_tab;
    connect(tab, &OutputsTab::figuresHovered, this, &DestinationControls::showCurve);
    connect(tab, &OutputsTab::serverEdited, &m_desk, &StreamDesk::setServer);
    connect(tab, &OutputsTab::keyEdited, &m_desk, &StreamDesk::setKey);
    connect(tab, &OutputsTab::selectionChanged, &m_desk, &StreamDesk::setSelected);
    connect(tab, &OutputsTab::togglePressed, &m_desk, &StreamDesk::toggle);
    connect(tab, &OutputsTab::retryNowPressed, &m_desk, &StreamDesk::retryNow);
    connect(tab, &OutputsTab::reconnectsChanged, &m_desk, &StreamDesk::setReconnecting);
    connect(tab, &OutputsTab::hardwareEncodingChanged, &m_desk, &StreamDesk::setHardwareEncoding);
    connect(tab, &OutputsTab::startSelectedPressed, &m_desk, &StreamDesk::startSelected);
    connect(tab, &OutputsTab::stopStreamsPressed, &m_desk, &StreamDesk::stopStreams);
    connect(tab, &OutputsTab::saveKeysPressed, this, &DestinationControls::saveKeys);
}

/// A key that is stored and was never shown is not removed by a field that was emptied again.
void DestinationControls::saveKeys()
{
    const QStringList unseen = m_desk.unseenRemovals();
    if (!unseen.isEmpty()
        && !m_dialogs.question(nimbara_i18n::tr("Guardar claves en este equipo"),
            nimbara_i18n::tr("El campo de %1 quedó vacío sin haber mostrado su clave guardada. "
                             "¿Eliminar la guardada?")
                .arg(unseen.join(QStringLiteral(", "))))) {
        m_desk.keepUnseen();
    }
    m_desk.saveKeys();
}

void DestinationControls::showDestinations()
{
    for (std::size_t slot = 0; slot < destinationCount; ++slot) {
        showDestination(slot);
    }
}

void DestinationControls::showDestination(std::size_t slot)
{
    m_tab.showWanted(slot, m_desk.server(slot), m_desk.key(slot), m_desk.isSelected(slot));
    m_tab.showDestination(slot,
        m_desk.buttonText(slot),
        m_desk.statusText(slot),
        m_desk.isWaiting(slot),
        m_desk.isReconnecting(slot));
}

QString DestinationControls::figuresText(std::size_t slot, const SlotHealth &health) const
{
    return nimbara_i18n::tr("%1 kbit/s · en cola %2 s · perdidas %3 · reconexiones %4")
        .arg(health.kbits)
        .arg(health.waitingSeconds, 0, 'f', 1)
        .arg(health.dropped.sum())
        .arg(m_desk.reconnections(slot));
}

void DestinationControls::showHealth()
{
    for (std::size_t slot = 0; slot < destinationCount; ++slot) {
        const bool isOnAir = m_desk.isOnAir(slot);
        m_tab.showFigures(slot, isOnAir ? figuresText(slot, m_health.slot(slot)) : QString());
    }
}

/// Drawn when it is looked at, not every second.
void DestinationControls::showCurve(std::size_t slot)
{
    const QString curve = minuteCurve(m_health.slot(slot).bytes);
    m_tab.setFiguresToolTip(slot,
        curve.isEmpty()
            ? QString()
            : nimbara_i18n::tr("kbit/s en el último minuto") + QStringLiteral("<br>") + curve);
}

} // namespace nimbara

#include "ui/outputs/destination_controls.h"

namespace nimbara {

static_assert(OutputsTab::slots == destinationCount);

DestinationControls::DestinationControls(StreamDesk &desk, const ErrorGuard &guard, OutputsTab &tab)
    : m_desk(desk)
    , m_tab(tab)
{
    showDestinations();
    tab.showReconnects(desk.reconnects());
    connectTab();
    connect(&desk, &StreamDesk::changed, this, &DestinationControls::showDestination);
    connect(&desk, &StreamDesk::savingChanged, &tab, &OutputsTab::showSaving);
    connect(&desk, &StreamDesk::failed, this, [&guard](const Message &reason) {
        guard.tell(reason);
    });
}

void DestinationControls::connectTab()
{
    const OutputsTab *tab = &m_tab;
    connect(tab, &OutputsTab::serverEdited, &m_desk, &StreamDesk::setServer);
    connect(tab, &OutputsTab::keyEdited, &m_desk, &StreamDesk::setKey);
    connect(tab, &OutputsTab::selectionChanged, &m_desk, &StreamDesk::setSelected);
    connect(tab, &OutputsTab::togglePressed, &m_desk, &StreamDesk::toggle);
    connect(tab, &OutputsTab::retryNowPressed, &m_desk, &StreamDesk::retryNow);
    connect(tab, &OutputsTab::reconnectsChanged, &m_desk, &StreamDesk::setReconnecting);
    connect(tab, &OutputsTab::startSelectedPressed, &m_desk, &StreamDesk::startSelected);
    connect(tab, &OutputsTab::stopStreamsPressed, &m_desk, &StreamDesk::stopStreams);
    connect(tab, &OutputsTab::saveKeysPressed, &m_desk, &StreamDesk::saveKeys);
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

} // namespace nimbara

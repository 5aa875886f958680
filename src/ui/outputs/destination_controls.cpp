#include "ui/outputs/destination_controls.h"

#include "base/error.h"
#include "base/i18n.h"

#include <QPointer>

#include <algorithm>
#include <utility>

namespace nimbara {

static_assert(OutputsTab::slots == destinationCount);

DestinationControls::DestinationControls(Studio &studio,
    SecretStore &secrets,
    const ErrorGuard &guard,
    OutputsTab &tab)
    : m_studio(studio)
    , m_secrets(secrets)
    , m_guard(guard)
    , m_tab(tab)
{
    connect(&tab, &OutputsTab::togglePressed, this, [this](std::size_t slot) {
        m_guard.run([this, slot] { toggleDestination(slot); });
    });
    connect(&tab, &OutputsTab::startSelectedPressed, this, [this] {
        m_guard.run([this] { startSelected(); });
    });
    connect(&tab, &OutputsTab::stopStreamsPressed, this, &DestinationControls::stopStreams);
    connect(&tab, &OutputsTab::saveKeysPressed, this, &DestinationControls::saveKeys);
    showDestinations();
}

void DestinationControls::showDestinations()
{
    for (std::size_t slot = 0; slot < destinationCount; ++slot) {
        const Destination &destination = m_studio.outputs().destination(slot);
        m_tab.showDestination(slot,
            destination.buttonText(),
            isWaiting(slot) ? QStringLiteral("Buscando la clave guardada…")
                            : destination.statusText(),
            isWaiting(slot));
    }
}

void DestinationControls::callOffStarts()
{
    m_pending.fill({});
    showDestinations();
}

bool DestinationControls::isWaiting(std::size_t slot) const
{
    return m_pending.at(slot).ticket != 0;
}

bool DestinationControls::fieldHasKey(std::size_t slot) const
{
    return !m_tab.key(slot).trimmed().isEmpty();
}

void DestinationControls::toggleDestination(std::size_t slot)
{
    Destination &destination = m_studio.outputs().destination(slot);
    if (destination.running()) {
        destination.stop();
        showDestinations();
        Q_EMIT changed();
    } else if (fieldHasKey(slot)) {
        start(slot);
    } else {
        fetchKey(slot, false);
    }
}

void DestinationControls::startSelected()
{
    const bool underWay = std::any_of(m_pending.begin(),
        m_pending.end(),
        [](const PendingStart &pending) { return pending.isSelected; });
    if (!underWay) {
        startSelectedFrom(0);
    }
}

void DestinationControls::startSelectedFrom(std::size_t slot)
{
    for (; slot < destinationCount; ++slot) {
        if (!m_tab.isSelected(slot) || isWaiting(slot)
            || m_studio.outputs().destination(slot).running()) {
            continue;
        }
        if (!fieldHasKey(slot)) {
            fetchKey(slot, true); // and goes on from there: an error must stop the later ones
            return;
        }
        start(slot);
    }
}

void DestinationControls::stopStreams()
{
    callOffStarts();
    m_studio.outputs().stopStreams();
    showDestinations();
    Q_EMIT changed();
}

void DestinationControls::start(std::size_t slot)
{
    hideKeys();
    m_studio.outputs().destination(slot).start(m_tab.server(slot),
        m_tab.key(slot),
        m_studio.stage().streamFrame());
    showDestinations();
    Q_EMIT changed();
}

void DestinationControls::fetchKey(std::size_t slot, bool isSelected)
{
    // No store is asked, and no operator to unlock it, for a start that fails anyway.
    static_cast<void>(checkedServer(m_tab.server(slot)));
    m_pending.at(slot) = { ++m_lastTicket, isSelected };
    showDestinations();
    m_secrets.readSecret(secret_account::stream(m_studio.outputs().destination(slot).name()),
        [self = QPointer(this), slot, ticket = m_lastTicket](const QString &key) {
            if (self) {
                self->m_guard.run([&] { self->keyArrived(slot, ticket, key); });
            }
        });
}

void DestinationControls::keyArrived(std::size_t slot, std::uint64_t ticket, const QString &key)
{
    if (m_pending.at(slot).ticket != ticket) {
        return; // called off
    }
    const bool isSelected = std::exchange(m_pending.at(slot), {}).isSelected;
    showDestinations();
    if (!fieldHasKey(slot)) { // what the operator typed meanwhile goes first
        m_tab.setKey(slot, key);
    }
    if (!isSelected) {
        start(slot);
        return;
    }
    if (m_tab.isSelected(slot)) { // still
        start(slot);
    }
    startSelectedFrom(slot + 1);
}

void DestinationControls::hideKeys() const
{
    for (std::size_t slot = 0; slot < destinationCount; ++slot) {
        hideStreamKey(m_tab.key(slot));
    }
}

void DestinationControls::showSaving(bool saving)
{
    m_isSaving = saving;
    m_tab.showSaving(saving);
}

void DestinationControls::saveKeys()
{
    hideKeys();
    Keys keys;
    for (std::size_t slot = 0; slot < keys.size(); ++slot) {
        keys.at(slot) = m_tab.key(slot);
    }
    showSaving(true);
    saveKeysFrom(0, keys);
}

void DestinationControls::saveKeysFrom(std::size_t slot, const Keys &keys)
{
    if (slot == keys.size()) {
        showSaving(false);
        m_studio.status(nimbara_i18n::tr("Claves guardadas en Llavero / Credential Manager."));
        return;
    }
    m_secrets.writeSecret(secret_account::stream(m_studio.outputs().destination(slot).name()),
        keys.at(slot),
        [self = QPointer(this), slot, keys](bool written) {
            if (!self) {
                return;
            }
            if (written) {
                self->saveKeysFrom(slot + 1, keys);
                return;
            }
            self->showSaving(false);
            self->m_guard.run([] {
                throw Error(QStringLiteral("No se pudo guardar en el almacén seguro del sistema"));
            });
        });
}

} // namespace nimbara

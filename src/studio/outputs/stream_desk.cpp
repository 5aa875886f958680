#include "studio/outputs/stream_desk.h"

#include "base/error.h"
#include "base/log.h"

#include <QDateTime>
#include <QPointer>

#include <algorithm>
#include <utility>

namespace nimbara {

StreamDesk::StreamDesk(const Clock &clock,
    Outputs &outputs,
    const Stage &stage,
    SecretStore &secrets)
    : m_clock(clock)
    , m_outputs(outputs)
    , m_stage(stage)
    , m_secrets(secrets)
{
    for (std::size_t slot = 0; slot < destinationCount; ++slot) {
        m_slots.at(slot).server = QString::fromUtf8(destinationPresets().at(slot).server);
    }
}

/// Runs what the operator or the store started; a failure is told.
template <typename Step> void StreamDesk::run(Step step)
{
    try {
        step();
    } catch (const std::exception &error) {
        Q_EMIT failed(errorMessage(error));
    }
}

/// What is wrong is told with the name of the destination.
template <typename Step> void StreamDesk::runFor(std::size_t slot, Step step) const
{
    try {
        step();
    } catch (const Error &error) {
        throw Error(Message(destinationPresets().at(slot).name)
            + Message::verbatim(QStringLiteral(": ")) + error.message());
    }
}

void StreamDesk::setServer(std::size_t slot, const QString &server)
{
    if (server != m_slots.at(slot).server) {
        m_slots.at(slot).server = server;
        Q_EMIT changed(slot);
    }
}

void StreamDesk::setKey(std::size_t slot, const QString &key)
{
    if (key != m_slots.at(slot).key) {
        m_slots.at(slot).key = key;
        m_slots.at(slot).wasEmptied = !hasKey(slot);
        Q_EMIT changed(slot);
    }
}

void StreamDesk::setSelected(std::size_t slot, bool selected)
{
    if (selected != std::exchange(m_slots.at(slot).isSelected, selected)) {
        bool &isWanted = m_slots.at(slot).isWanted;
        isWanted = isWanted && (selected || isOnAir(slot));
        Q_EMIT changed(slot);
    }
}

bool StreamDesk::isWaiting(std::size_t slot) const
{
    return m_slots.at(slot).ticket != 0;
}

Message StreamDesk::statusText(std::size_t slot) const
{
    if (isWaiting(slot)) {
        return "Buscando la clave guardada…";
    }
    return isReconnecting(slot) ? m_slots.at(slot).reconnection.text(m_clock.monotonicUs())
                                : m_outputs.destination(slot).statusText();
}

Message StreamDesk::buttonText(std::size_t slot) const
{
    return isReconnecting(slot) ? Message("Detener") : m_outputs.destination(slot).buttonText();
}

bool StreamDesk::hasKey(std::size_t slot) const
{
    return !key(slot).trimmed().isEmpty();
}

QString StreamDesk::account(std::size_t slot) const
{
    return secret_account::stream(m_outputs.destination(slot).name());
}

void StreamDesk::toggle(std::size_t slot)
{
    Destination &destination = m_outputs.destination(slot);
    if (destination.running() || isReconnecting(slot)) {
        m_slots.at(slot).isWanted = false;
        forget(slot);
        destination.stop();
        Q_EMIT changed(slot);
        return;
    }
    if (isWaiting(slot)) {
        return;
    }
    run([this, slot] {
        if (hasKey(slot)) {
            start(slot);
        } else {
            fetchKey(slot, false);
        }
    });
}

void StreamDesk::startSelected()
{
    const bool underWay = std::any_of(m_slots.begin(), m_slots.end(), [](const Slot &slot) {
        return slot.holdsOthers;
    });
    if (!underWay) {
        run([this] { startSelectedFrom(0); });
    }
}

void StreamDesk::startSelectedFrom(std::size_t slot)
{
    for (; slot < destinationCount; ++slot) {
        if (!isSelected(slot) || isWaiting(slot) || isReconnecting(slot)
            || m_outputs.destination(slot).running()) {
            continue;
        }
        if (!hasKey(slot)) {
            fetchKey(slot, true); // and goes on from there: an error must stop the later ones
            return;
        }
        start(slot);
    }
}

void StreamDesk::callOff(std::size_t slot)
{
    m_slots.at(slot).ticket = 0;
    m_slots.at(slot).holdsOthers = false;
    Q_EMIT changed(slot);
}

Message StreamDesk::lost(std::size_t slot)
{
    const Destination &destination = m_outputs.destination(slot);
    const Message text
        = Message::verbatim(destination.name() + QStringLiteral(": ")) + destination.statusText();
    Reconnection &reconnection = m_slots.at(slot).reconnection;
    const bool doubted = reconnection.doubtsKey();
    const bool again = m_reconnects
        && reconnection.lost(destination.failure(),
            m_clock.monotonicUs(),
            m_slots.at(slot).line.isReached());
    const bool doubts = reconnection.doubtsKey() && !doubted;
    m_slots.at(slot).line.forget();
    Q_EMIT changed(slot);
    const bool wasLost = std::exchange(m_slots.at(slot).isLost, again);
    if (wasLost && again && !doubts) {
        return {}; // an attempt that failed
    }
    if (wasLost) {
        Q_EMIT settled(m_slots.at(slot).loss);
    }
    if (!wasLost) {
        m_slots.at(slot).lostMs = m_clock.wallMs();
    }
    const Message more
        = again && !doubts ? Message("Se vuelve a conectar sola.") : reconnection.reason();
    m_slots.at(slot).loss
        = more.isEmpty() ? text : text + Message::verbatim(QStringLiteral(" ")) + more;
    return m_slots.at(slot).loss;
}

void StreamDesk::poll()
{
    followEncoder();
    for (std::size_t slot = 0; slot < destinationCount; ++slot) {
        advance(slot, m_clock.monotonicUs());
    }
}

void StreamDesk::followEncoder()
{
    H264Encoders &encoders = m_outputs.encoders().h264();
    if (encoders.poll()) {
        Q_EMIT encoderChanged();
    }
    if (encoders.hasFailed() && !std::exchange(m_toldFailure, true)) {
        Q_EMIT said(encoders.text());
    }
}

void StreamDesk::setHardwareEncoding(bool on)
{
    if (on != usesHardware()) {
        m_outputs.encoders().h264().setAutomatic(on);
        Q_EMIT hardwareEncodingChanged(on);
    }
}

void StreamDesk::advance(std::size_t slot, std::int64_t nowUs)
{
    Slot &each = m_slots.at(slot);
    if (each.isLost && each.line.poll(each.startedServer, nowUs)) {
        each.reconnection.hurry(nowUs);
    }
    if (each.reconnection.isDue(nowUs) && !each.line.isLooking(nowUs)) {
        retry(slot, nowUs);
    } else if (isReconnecting(slot) && each.shown != statusText(slot)) {
        each.shown = statusText(slot); // the seconds count down
        Q_EMIT changed(slot);
    } else if (!each.reconnection.isAccepted() && m_outputs.destination(slot).accepted()) {
        each.reconnection.accepted();
        each.isWanted = true;
        each.line.forget();
        if (std::exchange(each.isLost, false)) {
            ++each.returns;
            tellBack(slot);
        }
    } else if (each.reconnection.isAccepted() && !each.reconnection.isSteady()) {
        const auto figures = m_outputs.destination(slot).figures().value_or(OutletFigures {});
        each.reconnection.took(static_cast<std::int64_t>(figures.takenNs / 1000));
    }
}

/// That it was lost stands until it is read; of several times the last one.
void StreamDesk::tellBack(std::size_t slot)
{
    Slot &each = m_slots.at(slot);
    const Message name = Message::verbatim(m_outputs.destination(slot).name());
    const Message time = Message::verbatim(
        QDateTime::fromMSecsSinceEpoch(each.lostMs).toString(QStringLiteral("HH:mm")));
    Q_EMIT settled(each.loss);
    Q_EMIT settled(each.comeback);
    each.comeback = each.returns == 1
        ? Message("%1: se perdió a las %2 y ha vuelto.", { name, time })
        : Message("%1: se perdió %3 veces, la última a las %2, y ha vuelto.",
            { name, time, Message::verbatim(QString::number(each.returns)) });
    Q_EMIT alarmed(each.comeback);
    Q_EMIT said(Message("%1: la transmisión ha vuelto.", { name }));
}

/// No attempt opens a box in mid-service: one that cannot even begin is one that failed. So is one
/// whose server cannot be reached: it would still hang when the line is back.
void StreamDesk::retry(std::size_t slot, std::int64_t nowUs)
{
    Slot &each = m_slots.at(slot);
    each.reconnection.started(nowUs);
    try {
        if (each.line.isAway()) {
            each.reconnection.lost(OutputFailure::Other, nowUs);
        } else {
            startDestination(slot);
        }
    } catch (const std::exception &error) {
        each.reconnection.lost(OutputFailure::Other, nowUs);
        logLine(m_outputs.destination(slot).name() + QStringLiteral(": ")
            + errorMessage(error).spanish());
    }
    Q_EMIT changed(slot);
}

void StreamDesk::forget(std::size_t slot)
{
    m_slots.at(slot).reconnection.forget();
    if (std::exchange(m_slots.at(slot).isLost, false)) {
        Q_EMIT settled(m_slots.at(slot).loss);
    }
    m_slots.at(slot).line.forget();
    m_slots.at(slot).shown = {};
}

bool StreamDesk::isAnyReconnecting() const
{
    return std::any_of(m_slots.begin(), m_slots.end(), [](const Slot &slot) {
        return slot.isLost;
    });
}

void StreamDesk::retryNow(std::size_t slot)
{
    m_slots.at(slot).reconnection.hurry(m_clock.monotonicUs());
}

void StreamDesk::setReconnecting(bool on)
{
    if (std::exchange(m_reconnects, on) != on) {
        Q_EMIT reconnectsChanged(on);
    }
    for (std::size_t slot = 0; slot < destinationCount && !on; ++slot) {
        if (m_slots.at(slot).isLost && !m_outputs.destination(slot).running()) {
            Q_EMIT alarmed(Message("%1: la transmisión se perdió y no se reconecta.",
                { Message::verbatim(m_outputs.destination(slot).name()) }));
        }
        forget(slot);
        Q_EMIT changed(slot);
    }
}

void StreamDesk::callOffStarts()
{
    for (std::size_t slot = 0; slot < destinationCount; ++slot) {
        forget(slot);
        callOff(slot);
    }
}

void StreamDesk::stopStreams()
{
    m_outputs.stopStreams();
    callOffStarts();
    for (Slot &slot : m_slots) {
        slot.isWanted = false;
    }
}

void StreamDesk::start(std::size_t slot)
{
    hideKeys();
    forget(slot);
    Slot &each = m_slots.at(slot);
    each.returns = 0;
    each.comeback = {};
    each.startedServer = server(slot);
    each.startedKey = key(slot);
    each.startedSize = m_stage.streamFrame();
    each.startedBitrate = m_stage.document.project().videoKbits * 1000;
    each.reconnection.started(m_clock.monotonicUs());
    each.isWanted = false;
    runFor(slot, [&] { startDestination(slot); });
    Q_EMIT changed(slot);
}

/// As the operator started it.
void StreamDesk::startDestination(std::size_t slot)
{
    const Slot &each = m_slots.at(slot);
    m_outputs.destination(slot).start(each.startedServer,
        each.startedKey,
        each.startedSize,
        each.startedBitrate);
}

void StreamDesk::fetchKey(std::size_t slot, bool holdsOthers)
{
    // No store is asked, and no operator to unlock it, for a start that fails anyway.
    runFor(slot, [&] { static_cast<void>(checkedServer(server(slot))); });
    m_slots.at(slot).ticket = ++m_lastTicket;
    m_slots.at(slot).holdsOthers = holdsOthers;
    Q_EMIT changed(slot);
    m_secrets.readSecret(account(slot),
        [self = QPointer(this), slot, ticket = m_lastTicket](const QString &key) {
            if (self) {
                self->run([&] { self->keyArrived(slot, ticket, key); });
            }
        });
}

void StreamDesk::keyArrived(std::size_t slot, std::uint64_t ticket, const QString &key)
{
    if (m_slots.at(slot).ticket != ticket) {
        return; // called off
    }
    const bool holdsOthers = m_slots.at(slot).holdsOthers;
    callOff(slot);
    if (!hasKey(slot)) { // what the operator typed meanwhile goes first
        setKey(slot, key);
        m_slots.at(slot).hasShownStored = hasKey(slot);
    }
    if (!holdsOthers) {
        start(slot);
        return;
    }
    if (isSelected(slot)) { // still
        start(slot);
    }
    startSelectedFrom(slot + 1);
}

void StreamDesk::hideKeys() const
{
    for (const Slot &slot : m_slots) {
        hideStreamKey(slot.key);
    }
}

void StreamDesk::setSaving(bool saving)
{
    m_isSaving = saving;
    Q_EMIT savingChanged(saving);
}

QStringList StreamDesk::unseenRemovals() const
{
    QStringList names;
    for (std::size_t slot = 0; slot < destinationCount; ++slot) {
        if (m_slots.at(slot).wasEmptied && !m_slots.at(slot).hasShownStored) {
            names << m_outputs.destination(slot).name();
        }
    }
    return names;
}

void StreamDesk::keepUnseen()
{
    for (Slot &slot : m_slots) {
        slot.wasEmptied = slot.wasEmptied && slot.hasShownStored;
    }
}

void StreamDesk::saveKeys()
{
    if (m_isSaving) {
        return;
    }
    hideKeys();
    Saving saving;
    for (std::size_t slot = 0; slot < destinationCount; ++slot) {
        if (hasKey(slot) || m_slots.at(slot).wasEmptied) {
            saving.keys.emplace_back(slot, hasKey(slot) ? key(slot) : QString());
        }
    }
    setSaving(true);
    saveNext(std::move(saving));
}

void StreamDesk::saveNext(Saving saving)
{
    if (saving.keys.empty()) {
        setSaving(false);
        Q_EMIT said(outcome(saving));
        return;
    }
    const auto [slot, key] = saving.keys.front();
    const auto answer = [self = QPointer(this), saving = std::move(saving)](auto handle) {
        return [self, saving, handle](auto result) {
            if (self) {
                (self->*handle)(saving, result);
            }
        };
    };
    if (key.isEmpty()) {
        m_secrets.removeSecret(account(slot), answer(&StreamDesk::removed));
    } else {
        m_secrets.writeSecret(account(slot), key, answer(&StreamDesk::saved));
    }
}

void StreamDesk::saveFailed(const Saving &saving)
{
    setSaving(false);
    if (!saving.written.isEmpty() || !saving.removed.isEmpty() || !saving.kept.isEmpty()) {
        Q_EMIT said(outcome(saving)); // those before it are done
    }
    Q_EMIT failed("No se pudo guardar en el almacén seguro del sistema");
}

void StreamDesk::saved(Saving saving, bool written)
{
    if (!written) {
        saveFailed(saving);
        return;
    }
    m_slots.at(saving.keys.front().first).hasShownStored = true;
    saving.written << m_outputs.destination(saving.keys.front().first).name();
    saving.keys.pop_front();
    saveNext(std::move(saving));
}

void StreamDesk::removed(Saving saving, SecretStore::Removal removal)
{
    if (removal == SecretStore::Removal::Failed) {
        saveFailed(saving);
        return;
    }
    const std::size_t slot = saving.keys.front().first;
    saving.keys.pop_front();
    const bool isDone = removal == SecretStore::Removal::Done;
    m_slots.at(slot).wasEmptied = m_slots.at(slot).wasEmptied && !isDone; // else tried once more
    (isDone ? saving.removed : saving.kept) << m_outputs.destination(slot).name();
    saveNext(std::move(saving));
}

Message StreamDesk::outcome(const Saving &saving)
{
    if (saving.written.isEmpty() && saving.removed.isEmpty() && saving.kept.isEmpty()) {
        return "No hay claves que guardar: las guardadas siguen como estaban.";
    }
    const auto names
        = [](const QStringList &all) { return Message::verbatim(all.join(QStringLiteral(", "))); };
    const Message blank = Message::verbatim(QStringLiteral(" "));
    Message text("Claves guardadas en Llavero / Credential Manager.");
    if (!saving.written.isEmpty()) {
        text += blank + "Claves guardadas: " + names(saving.written);
    }
    if (!saving.removed.isEmpty()) {
        text += blank + "Claves eliminadas: " + names(saving.removed);
    }
    if (!saving.kept.isEmpty()) {
        text += blank + "Claves que el llavero del sistema puede conservar: " + names(saving.kept);
    }
    return text;
}

} // namespace nimbara

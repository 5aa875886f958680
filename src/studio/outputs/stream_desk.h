#pragma once

#include "base/message.h"
#include "output/sink/outputs.h"
#include "secrets/secret_store.h"
#include "studio/edit/stage.h"
#include "studio/outputs/line_watch.h"
#include "studio/outputs/reconnection.h"

#include <QObject>
#include <QString>
#include <QStringList>

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <utility>

namespace nimbara {

/// The four stream destinations: what is wanted of each, its starts and stops, and its key, which
/// stays in memory unless the operator saves it. Slots count from 0.
///
/// A start without a key waits for the store, which may wait for the operator in turn. Until the
/// key is there the slot is idle and says so. What stops the streams calls such a start off, too.
/// Failures are told by `failed`; nothing here throws. Interface thread only, which never waits.
class StreamDesk : public QObject {
    Q_OBJECT
public:
    /// All must outlive the desk.
    StreamDesk(const Clock &clock, Outputs &outputs, const Stage &stage, SecretStore &secrets);

    /// Server and key as typed. The desk starts with the servers of `destinationPresets`.
    [[nodiscard]] const QString &server(std::size_t slot) const { return m_slots.at(slot).server; }
    void setServer(std::size_t slot, const QString &server);
    [[nodiscard]] const QString &key(std::size_t slot) const { return m_slots.at(slot).key; }
    void setKey(std::size_t slot, const QString &key);
    /// The slot takes part in `startSelected`.
    [[nodiscard]] bool isSelected(std::size_t slot) const { return m_slots.at(slot).isSelected; }
    void setSelected(std::size_t slot, bool selected);

    /// A start of the slot waits for its key.
    [[nodiscard]] bool isWaiting(std::size_t slot) const;
    /// What the slot does and what its button does now.
    [[nodiscard]] Message statusText(std::size_t slot) const;
    [[nodiscard]] Message buttonText(std::size_t slot) const;

    /// Stops a slot that runs, and starts one that neither runs nor waits for its key.
    void toggle(std::size_t slot);
    /// Starts the selected slots in their order, up to the first that fails.
    void startSelected();
    void stopStreams();
    /// A lost destination that waits for its next attempt: makes it now.
    void retryNow(std::size_t slot);
    /// Lost destinations are tried again by themselves; on at first.
    void setReconnecting(bool on);
    [[nodiscard]] bool reconnects() const { return m_reconnects; }
    /// The platform's encoder is used where it may be trusted (at first), or the portable one
    /// alone. Those that run keep theirs.
    void setHardwareEncoding(bool on);
    [[nodiscard]] bool usesHardware() const { return m_outputs.encoders().h264().isAutomatic(); }
    /// Which encoder the next start gets, and why.
    [[nodiscard]] Message encoderText() const { return m_outputs.encoders().h264().text(); }
    /// A slot ended by itself; what the operator must know of it, empty for one more attempt.
    Message lost(std::size_t slot);
    /// A destination is lost and tried again: as far as the operator is concerned, it runs.
    [[nodiscard]] bool isAnyReconnecting() const;
    /// Makes the attempts that are due. Call on every run of the frame clock.
    void poll();
    /// The slot waits for its next attempt.
    [[nodiscard]] bool isReconnecting(std::size_t slot) const
    {
        return m_slots.at(slot).reconnection.isWaiting();
    }
    /// How often it came back since the operator started it.
    [[nodiscard]] int reconnections(std::size_t slot) const { return m_slots.at(slot).returns; }
    /// It is on air, or was, and the operator has neither stopped it nor taken its tick away: also
    /// one that was given up.
    [[nodiscard]] bool isWanted(std::size_t slot) const
    {
        return m_slots.at(slot).isWanted || isOnAir(slot);
    }
    /// It sends, or is being tried again.
    [[nodiscard]] bool isOnAir(std::size_t slot) const
    {
        return isReconnecting(slot) || m_outputs.destination(slot).running();
    }
    /// Calls off the starts that wait for a key, and the attempts to come.
    void callOffStarts();
    /// Destinations whose stored key `saveKeys` would remove unseen: their field was filled,
    /// perhaps by mistake, and emptied again.
    [[nodiscard]] QStringList unseenRemovals() const;
    /// What is stored for those stays.
    void keepUnseen();
    /// Stores the keys that are there and removes those that the operator emptied, in the order of
    /// the slots, up to the first that fails. A field that was never filled keeps what is stored.
    /// Does nothing while keys are being saved.
    void saveKeys();

Q_SIGNALS:
    /// Anything that the slot's row shows, short of what a frame may end by itself.
    void changed(std::size_t slot);
    void savingChanged(bool saving);
    /// An operation failed.
    void failed(const nimbara::Message &reason);
    /// What was told of a destination holds no more: it is back, or not tried any more.
    void settled(const nimbara::Message &notice);
    /// The operator must not miss it.
    void alarmed(const nimbara::Message &text);
    void reconnectsChanged(bool on);
    void hardwareEncodingChanged(bool on);
    /// `encoderText` says something else.
    void encoderChanged();
    /// One line for the operator.
    void said(const nimbara::Message &text);

private:
    /// A save under way: what is left to do, and the names of what is done.
    struct Saving {
        std::deque<std::pair<std::size_t, QString>> keys; ///< slot and key, empty to remove it
        QStringList written;
        QStringList removed;
        QStringList kept; ///< removed, though the system's store may still have them
    };

    struct Slot {
        QString server;
        QString key;
        bool wasEmptied = false; ///< by the operator, since it was stored
        bool hasShownStored = false; ///< the field held what is stored
        bool isSelected = false;
        bool isWanted = false; ///< beyond the time in which it is on air
        std::uint64_t ticket = 0; ///< of the start that waits; 0: none. A key that comes for
                                  ///< another ticket comes too late.
        bool holdsOthers = false; ///< the selected slots after it wait for that start
        QString startedServer; ///< of the run: what the fields hold may have changed since
        QString startedKey;
        FrameSize startedSize {};
        std::int32_t startedBitrate = outputBitrate;
        Reconnection reconnection;
        LineWatch line; ///< while it is lost
        int returns = 0;
        Message loss; ///< as `lost` told it
        qint64 lostMs = 0; ///< when: wall time since the epoch
        Message comeback; ///< the newest that was told
        bool isLost = false; ///< told, and being tried again
        Message shown; ///< while it waits for an attempt
    };
    void advance(std::size_t slot, std::int64_t nowUs);
    void followEncoder();
    void retry(std::size_t slot, std::int64_t nowUs);
    void startDestination(std::size_t slot);
    void forget(std::size_t slot);
    void tellBack(std::size_t slot);

    template <typename Step> void run(Step step);
    template <typename Step> void runFor(std::size_t slot, Step step) const;
    void startSelectedFrom(std::size_t slot);
    void start(std::size_t slot);
    void fetchKey(std::size_t slot, bool holdsOthers);
    void keyArrived(std::size_t slot, std::uint64_t ticket, const QString &key);
    void callOff(std::size_t slot);
    [[nodiscard]] bool hasKey(std::size_t slot) const;
    [[nodiscard]] QString account(std::size_t slot) const;
    void hideKeys() const;
    void setSaving(bool saving);
    void saveNext(Saving saving);
    void saved(Saving saving, bool written);
    void removed(Saving saving, SecretStore::Removal removal);
    void saveFailed(const Saving &saving);
    [[nodiscard]] static Message outcome(const Saving &saving);

    const Clock &m_clock;
    Outputs &m_outputs;
    const Stage &m_stage;
    SecretStore &m_secrets;
    std::array<Slot, destinationCount> m_slots;
    std::uint64_t m_lastTicket = 0;
    bool m_isSaving = false; ///< keys are on their way to the store
    bool m_toldFailure = false; ///< of the platform's encoder
    bool m_reconnects = true;
};

} // namespace nimbara

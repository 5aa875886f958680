#pragma once

#include "secrets/secret_store.h"
#include "studio/studio.h"
#include "ui/kit/error_guard.h"
#include "ui/outputs/outputs_tab.h"

#include <QObject>

#include <array>
#include <cstdint>

namespace nimbara {

/// The four stream destinations as the operator drives them: starts and stops them, fetches the
/// keys that the fields lack, saves the keys, and shows what every slot does.
///
/// A start with an empty key field waits for the store, which may wait for the operator in turn.
/// Until the key is there the slot is idle and says so, and its button takes no press. What stops
/// the streams calls such a start off, too. Interface thread only, which never waits.
class DestinationControls : public QObject {
    Q_OBJECT
public:
    /// All must outlive the controls.
    DestinationControls(Studio &studio,
        SecretStore &secrets,
        const ErrorGuard &guard,
        OutputsTab &tab);

    /// Shows what the slots do now.
    void showDestinations();
    /// Calls off the starts that wait for a key, as the window does before it closes.
    void callOffStarts();
    /// Keys are on their way to the store.
    [[nodiscard]] bool isSaving() const { return m_isSaving; }

Q_SIGNALS:
    /// A slot was started or stopped by the operator.
    void changed();

private:
    using Keys = std::array<QString, destinationCount>;

    /// A start that waits for its key.
    struct PendingStart {
        std::uint64_t ticket = 0; ///< 0: none. A key that comes for another ticket comes too late.
        bool isSelected = false; ///< the selected slots after it wait for it
    };

    void toggleDestination(std::size_t slot);
    void startSelected();
    void startSelectedFrom(std::size_t slot);
    void stopStreams();
    void hideKeys() const;
    void showSaving(bool saving);
    void saveKeys();
    void saveKeysFrom(std::size_t slot, const Keys &keys);
    [[nodiscard]] bool isWaiting(std::size_t slot) const;
    [[nodiscard]] bool fieldHasKey(std::size_t slot) const;
    void start(std::size_t slot);
    void fetchKey(std::size_t slot, bool isSelected);
    void keyArrived(std::size_t slot, std::uint64_t ticket, const QString &key);

    Studio &m_studio;
    SecretStore &m_secrets;
    const ErrorGuard &m_guard;
    OutputsTab &m_tab;
    std::array<PendingStart, destinationCount> m_pending {};
    std::uint64_t m_lastTicket = 0;
    bool m_isSaving = false;
};

} // namespace nimbara

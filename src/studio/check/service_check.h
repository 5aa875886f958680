#pragma once

#include "base/background_task.h"
#include "media/sources/media.h"
#include "output/sink/destination.h"
#include "studio/check/machine_facts.h"
#include "studio/check/service_facts.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace nimbara {

class Studio;

/// Looks at everything that a service needs, for `lookMs`, and says what to do. Changes nothing,
/// but sends one small request to the translation's service, and to that of online Bibles where
/// verses come from there. Interface thread only, which never waits.
class ServiceCheck : public QObject {
    Q_OBJECT
public:
    static constexpr int lookMs = 3000; ///< at sound and cameras; the system may tell later
    static constexpr int diskMs = 5000; ///< a disk that has not answered by then hangs

    /// See `askDisk`.
    using AskDisk = std::function<std::optional<std::int64_t>(const QString &folder)>;

    /// `studio` must outlive the check.
    explicit ServiceCheck(Studio &studio, QObject *parent = nullptr, AskDisk ask = askDisk);

    /// Begins, or begins anew: what is still to be answered to the run before counts no more.
    /// `screens`: how many the computer has, mirrored ones once.
    void begin(int screens);
    [[nodiscard]] bool isUnderWay() const { return m_timer.isActive(); }

Q_SIGNALS:
    /// All has been looked at.
    void finished(const std::vector<nimbara::CheckLine> &lines);

private:
    /// How many pictures a camera had delivered when its watch began.
    struct Arrival {
        Layer layer; ///< that shows it
        std::weak_ptr<Media> camera; ///< none: it is away
        std::uint64_t pictures = 0;
        qint64 sinceMs = 0; ///< of the run
    };
    template <typename Take> [[nodiscard]] auto ofThisRun(Take take);
    void look();
    void noteCameras();
    [[nodiscard]] Arrival arrivalOf(const Layer &layer) const;
    [[nodiscard]] bool isWatched(Arrival &each, bool isWanted);
    [[nodiscard]] bool areCamerasWatched();
    void askDiskRoom();
    void measureTexts();
    void askService();
    void askForKeys();
    void askOnlineBible();
    void takeAnswers();
    void readStudio();
    [[nodiscard]] double rateSince(const Arrival &before) const;
    void readSceneCameras();
    void readOutputs();

    Studio &m_studio;
    QTimer m_timer;
    QElapsedTimer m_since; ///< the beginning
    Arrival m_principal;
    std::vector<Arrival> m_sceneCameras; ///< of layers that name their device
    ServiceFacts m_facts;
    std::uint64_t m_run = 0; ///< counts them
    std::array<bool, destinationCount> m_lacksKey {}; ///< by slot, in the store
    BackgroundTask<MachineFacts> m_machine;
    AskDisk m_askDisk;
    BackgroundTask<std::optional<std::int64_t>> m_disk; ///< may take longer than a run
    BackgroundTask<TextFit> m_texts; ///< may take longer than a run
    std::vector<FramedScene> m_measured; ///< what that looks at
    QString m_measuredChoice; ///< the same
};

} // namespace nimbara

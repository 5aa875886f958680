#pragma once

#include "base/background_task.h"
#include "output/sink/destination.h"
#include "studio/check/machine_facts.h"
#include "studio/check/service_facts.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <array>
#include <cstdint>
#include <vector>

namespace nimbara {

class Studio;

/// Looks at everything that a service needs, for `lookMs`, and says what to do. Changes nothing,
/// but sends one small request to the translation's service, and to that of online Bibles where
/// verses come from there. Interface thread only, which never waits.
class ServiceCheck : public QObject {
    Q_OBJECT
public:
    static constexpr int lookMs = 3000; ///< at sound and camera; what the system tells may be later

    /// `studio` must outlive the check.
    explicit ServiceCheck(Studio &studio, QObject *parent = nullptr);

    /// Begins, or begins anew: what is still to be answered to the run before counts no more.
    /// `screens`: how many the computer has, mirrored ones once.
    void begin(int screens);
    [[nodiscard]] bool isUnderWay() const { return m_timer.isActive(); }

Q_SIGNALS:
    /// All has been looked at.
    void finished(const std::vector<nimbara::CheckLine> &lines);

private:
    template <typename Take> [[nodiscard]] auto ofThisRun(Take take);
    void look();
    void measureTexts();
    void askService();
    void askForKeys();
    void askOnlineBible();
    void takeAnswers();
    void readStudio();
    void readOutputs();

    Studio &m_studio;
    QTimer m_timer;
    QElapsedTimer m_since; ///< the beginning
    std::uint64_t m_arrivedBefore = 0;
    ServiceFacts m_facts;
    std::uint64_t m_run = 0; ///< counts them
    std::array<bool, destinationCount> m_lacksKey {}; ///< by slot, in the store
    BackgroundTask<MachineFacts> m_machine;
    BackgroundTask<TextFit> m_texts; ///< may take longer than a run
    std::vector<FramedScene> m_measured; ///< what that looks at
    QString m_measuredChoice; ///< the same
};

} // namespace nimbara

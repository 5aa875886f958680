#pragma once

#include <QObject>
#include <QSettings>

#include <array>
#include <cstddef>
#include <cstdint>

namespace nimbara {

class Studio;

/// What a new operator does first.
enum class FirstStep : std::int32_t { Camera, Sound, HallScreen, Scene, Recording, Destination };
inline constexpr std::array firstSteps { FirstStep::Camera,
    FirstStep::Sound,
    FirstStep::HallScreen,
    FirstStep::Scene,
    FirstStep::Recording,
    FirstStep::Destination };

/// Sees by the state of the studio which first steps are done. What was done once stays done, also
/// at the next start. Changes nothing else. Interface thread only.
class FirstSteps : public QObject {
    Q_OBJECT
public:
    static constexpr std::int64_t leastRecordingNs = 2'000'000'000;

    /// Both must outlive it. `settings` remembers what is done and whether the list was closed.
    FirstSteps(Studio &studio, QSettings &settings);

    [[nodiscard]] bool isDone(FirstStep step) const;
    [[nodiscard]] bool areAllDone() const;
    /// The operator closed the list.
    [[nodiscard]] bool isClosed() const;
    void setClosed(bool closed);

    /// Looks at the studio; it does so by itself once a second.
    void look();

Q_SIGNALS:
    /// Another step is done, or the list was closed or brought back.
    void changed();

private:
    [[nodiscard]] bool holds(FirstStep step);
    [[nodiscard]] bool hasCamera() const;
    [[nodiscard]] bool hasScene() const;
    [[nodiscard]] bool hasDestination();
    [[nodiscard]] bool isKeyStored(std::size_t slot);

    Studio &m_studio;
    QSettings &m_settings;
    std::uint32_t m_done = 0; ///< a bit for each step
    std::uint32_t m_stored = 0; ///< destinations whose keys the store has; a bit for each
};

} // namespace nimbara

#pragma once

#include "studio/studio.h"
#include "support/manual_clock.h"
#include "support/scenes.h"
#include "support/shown.h"

#include <QStringList>
#include <QTest>

#include <algorithm>

namespace nimbara::testing {

/// A studio with a hand-cranked clock that keeps what it reports.
struct StudioFixture {
    ManualClock clock;
    Studio studio;
    QStringList statuses;
    Pictures pictures;
    int frames = 0;

    explicit StudioFixture(StudioPeers peers = {})
        : studio(clock, std::move(peers))
    {
        QObject::connect(&studio, &Studio::status, &studio, [this](const Message &text) {
            statuses << text.spanish();
        });
        QObject::connect(&studio, &Studio::picturesMade, &studio, [this](const Pictures &made) {
            pictures = made;
            ++frames;
        });
    }

    [[nodiscard]] bool told(const char *text) const
    {
        return !statuses.filter(QString::fromUtf8(text)).isEmpty();
    }
    /// Some time, one frame period at least, then the tick that makes the frame.
    void frame(std::int64_t afterUs = FrameSchedule::periodUs)
    {
        clock.advanceUs(afterUs);
        studio.tick();
    }

    /// Runs frames until the condition holds; false when it never does. Live sources get real time.
    template <typename Condition> bool runUntil(Condition condition)
    {
        for (int i = 0; i < 3000; ++i) {
            if (condition()) {
                return true;
            }
            frame();
            QTest::qWait(2);
        }
        return condition();
    }

    /// Polls with the clock at a stand, so that no source is given up before it has started.
    template <typename Condition> bool pollUntil(Condition condition)
    {
        return QTest::qWaitFor([&] { return studio.tick(), condition(); }, 60'000);
    }

    /// Replaces the layers of the edited set's current scene.
    void setLayers(const std::vector<Layer> &layers)
    {
        testing::setLayers(studio.document(), layers);
    }
    const Scene &scene() { return *studio.document().currentScene(); }
    /// Of the scene in PREVIEW.
    const Layer &layer(std::size_t place) { return scene().layers.at(place); }
    MediaPtr source(std::size_t place) { return studio.sources().pool().find(layer(place)); }
    void set(std::size_t place, LayerField field, const FieldValue &value)
    {
        studio.document().apply(SetField { layer(place).id, field, value });
    }

    /// TAKE of what is in PREVIEW, with its files; false when it waits for ever.
    [[nodiscard]] bool takePrepared()
    {
        studio.program().take();
        const SceneSet set = studio.document().editing();
        return pollUntil([&] { return !studio.program().isWaiting(set); });
    }
    /// Those layers, then TAKE.
    void take(const std::vector<Layer> &layers)
    {
        setLayers(layers);
        studio.program().take();
    }
};

/// A studio that lists devices and measures their sound.
struct DeviceFixture : StudioFixture {
    DeviceLists devices;
    std::pair<int, int> levels; ///< before and after the volume

    explicit DeviceFixture(StudioPeers peers = {})
        : StudioFixture(std::move(peers))
    {
        const auto keepLevels = [this](int before, int after) { levels = { before, after }; };
        const auto keepDevices = [this](const DeviceLists &found) { devices = found; };
        QObject::connect(&studio.audio(), &AudioInput::levelsMeasured, &studio, keepLevels);
        auto &connection = studio.devices();
        QObject::connect(&connection, &DeviceConnection::devicesFound, &studio, keepDevices);
    }
};

inline QColor centre(const QImage &picture)
{
    return picture.pixelColor(picture.width() / 2, picture.height() / 2);
}

/// What the studio says when both devices are there.
inline constexpr const char *opened = "Fuentes abiertas. Prepara una escena y pulsa AL AIRE.";

/// The choice of two devices by their names.
inline DeviceChoice choose(const DeviceLists &devices, const QString &video, const QString &audio)
{
    const auto entryOf = [](const std::vector<CaptureDevice> &list, const QString &name) {
        const auto found = std::find_if(list.begin(), list.end(), [&](const auto &device) {
            return device.name == name;
        });
        return static_cast<std::int32_t>(found - list.begin());
    };
    return { entryOf(devices.video, video) + 1, entryOf(devices.audio, audio) + 2 };
}

} // namespace nimbara::testing

#include "bench.h"
#include "compositor/scene/composer.h"
#include "compositor/scene/program_state.h"
#include "document/profile.h"
#include "support/shown.h"

#include <algorithm>
#include <array>
#include <memory>

using namespace nimbara;
using namespace nimbara::testing;

namespace {

/// A camera's pictures: a new frame each time.
class MovingCamera {
public:
    explicit MovingCamera(FrameSize size = landscapeSize)
    {
        for (std::size_t index = 0; index < m_frames.size(); ++index) {
            auto frame = std::make_shared<Frame>(size.width, size.height);
            for (std::size_t byte = 0; byte < frame->pixels.size(); ++byte) {
                if (byte % 4 != 3) {
                    frame->pixels[byte] = static_cast<std::uint8_t>(byte / 8000 + index * 5);
                }
            }
            m_frames.at(index) = std::move(frame);
        }
    }
    FramePtr next() { return m_frames.at(m_next++ % m_frames.size()); }

private:
    std::array<FramePtr, 3> m_frames;
    std::size_t m_next = 0;
};

/// A picture with transparent corners, as logos have.
FramePtr logo()
{
    auto frame = std::make_shared<Frame>(900, 900);
    frame->opaque = false;
    for (int y = 0; y < 900; ++y) {
        for (int x = 0; x < 900; ++x) {
            const int fromCentre = (x - 450) * (x - 450) + (y - 450) * (y - 450);
            auto *pixel = frame->pixels.data() + y * frame->stride() + std::ptrdiff_t { x } * 4;
            pixel[0] = 220;
            pixel[1] = static_cast<std::uint8_t>(x / 4);
            pixel[3]
                = static_cast<std::uint8_t>(std::clamp((450 * 450 - fromCentre) / 500, 0, 255));
        }
    }
    return frame;
}

PicturedLayer logoLayer()
{
    PicturedLayer layer(newLayer(LayerKind::Image), logo());
    layer.opacity = 0.9;
    return layer;
}

/// A moving camera, two lines of 56 px text with box and shadow, a scaled logo at opacity 0.9.
std::vector<PicturedLayer> streamLayers(const char *text)
{
    Layer words = newLayer(LayerKind::Text);
    words.text = QString::fromUtf8(text);
    return { Layer {}, words, logoLayer() };
}

/// The moving camera's next picture under what stands still.
class Moving {
public:
    explicit Moving(const Shown &shown)
        : m_composition(shown)
    {
    }
    Composition &with(const FramePtr &camera)
    {
        m_composition.pictures.front() = camera;
        return m_composition;
    }

private:
    Composition m_composition;
};

constexpr const char *twoLines = "Bienvenidos a la casa de oración de todos los pueblos\n"
                                 "Domingo a las once · culto en español y en inglés";

Shown streamComposition(const char *text)
{
    Shown composition;
    composition.layers = streamLayers(text);
    composition.frame = landscapeSize;
    return composition;
}

Composition hallComposition(const QStringList &phrases, std::int32_t outline = Layer::usualStrength)
{
    Scene scene = defaultScene(true);
    for (Layer &layer : scene.layers) {
        layer.outlineWidth = outline;
    }
    Composition composition;
    composition.scene = std::make_shared<const Scene>(std::move(scene));
    composition.size = hallSize;
    composition.isHall = true;
    composition.captions = { phrases, QStringLiteral("\n"), true };
    return composition;
}

const QStringList &phrases()
{
    static const QStringList list {
        QStringLiteral("For God so loved the world that he gave his one and only Son."),
        QStringLiteral("Whoever believes in him shall not perish but have eternal life."),
        QStringLiteral("The light shines in the darkness, and the darkness has not overcome it."),
        QStringLiteral("In the beginning was the Word, and the Word was with God."),
        QStringLiteral("He makes me lie down in green pastures, he leads me beside quiet waters."),
        QStringLiteral("Come to me, all you who are weary and burdened, and I will give you rest."),
        QStringLiteral("I am the way and the truth and the life, said Jesus to Thomas."),
    };
    return list;
}

double streamSceneMs()
{
    Composer composer(std::make_shared<PaintCache>());
    MovingCamera camera;
    Moving composition(streamComposition(twoLines));
    return bench::medianMs(101, [&] { return composer.compose(composition.with(camera.next())); });
}

/// The same with a camera of 4:3 that covers the frame, as its source scales it.
double coveringCameraMs()
{
    Composer composer(std::make_shared<PaintCache>());
    MovingCamera camera({ 1920, 1440 });
    Shown shown = streamComposition(twoLines);
    shown.layers.front().cover = true;
    Moving composition(shown);
    return bench::medianMs(101, [&] { return composer.compose(composition.with(camera.next())); });
}

double hallStillMs()
{
    Composer composer(std::make_shared<PaintCache>());
    const Composition composition = hallComposition(phrases().mid(0, 2));
    return bench::medianMs(501, [&] { return composer.compose(composition); });
}

double newCaptionMs(std::int32_t outline)
{
    Composer composer(std::make_shared<PaintCache>());
    int turn = 0;
    return bench::medianMs(51, [&] {
        const qsizetype first = turn++ % phrases().size();
        // The number keeps every caption new, so that no earlier one is found again.
        const QString newest = phrases().at((first + 1) % phrases().size());
        const QStringList shown { phrases().at(first), newest + QStringLiteral(" (%1)").arg(turn) };
        return composer.compose(hallComposition(shown, outline));
    });
}

double hallNewCaptionMs()
{
    return newCaptionMs(Layer::usualStrength);
}

double hallWideOutlineMs()
{
    return newCaptionMs(2 * Layer::usualStrength);
}

double threePicturesMs()
{
    const auto cache = std::make_shared<PaintCache>();
    Composer preview(cache);
    Composer streams(cache);
    Composer hall(cache);
    MovingCamera camera;
    Shown next = streamComposition("Lo que viene:\nel coro de los jóvenes");
    next.isPreview = true;
    Moving prepared(next);
    Moving onAir(streamComposition(twoLines));
    const Composition still = hallComposition(phrases().mid(0, 2));
    return bench::medianMs(101, [&] {
        const FramePtr picture = camera.next();
        return std::array { preview.compose(prepared.with(picture)),
            streams.compose(onAir.with(picture)),
            hall.compose(still) };
    });
}

/// What a transition adds to the composed picture; the limit is 15 copies of a frame.
double transitionMs(TransitionKind kind, const PlayingClip &clip = {})
{
    Composer composer(std::make_shared<PaintCache>());
    MovingCamera camera;
    Moving composition(streamComposition(twoLines));
    const auto compose = [&] { return composer.compose(composition.with(camera.next())); };
    ProgramState program;
    static_cast<void>(program.showStreams(compose(), -1));
    program.takeStreams({}, {}, false, { kind, 1000 }, 0, clip);
    std::vector<double> times;
    for (int i = 1; i < 100; ++i) {
        const QImage picture = compose();
        times.push_back(bench::timeMs([&] { return program.showStreams(picture, i * 10'000); }));
    }
    return bench::median(times);
}

double fadeMs()
{
    return transitionMs(TransitionKind::Fade);
}

double slideMs()
{
    return std::max(transitionMs(TransitionKind::SlideLeft), transitionMs(TransitionKind::SlideUp));
}

/// A clip with transparency over the picture.
double clipMs()
{
    const auto clip = std::make_shared<Frame>(landscapeSize.width, landscapeSize.height);
    clip->opaque = false;
    for (std::size_t byte = 0; byte < clip->pixels.size(); ++byte) {
        clip->pixels[byte] = static_cast<std::uint8_t>(byte / 5000);
    }
    const PlayingClip playing { [clip] { return clip; }, [] { return false; }, 500'000 };
    return transitionMs(TransitionKind::Clip, playing);
}

double wipeMs()
{
    return std::max(transitionMs(TransitionKind::WipeLeft), transitionMs(TransitionKind::WipeUp));
}

} // namespace

NIMBARA_BENCH_CASE("stream-scene", streamSceneMs)
NIMBARA_BENCH_CASE("covering-camera", coveringCameraMs)
NIMBARA_BENCH_CASE("hall-still", hallStillMs)
NIMBARA_BENCH_CASE("hall-new-caption", hallNewCaptionMs)
NIMBARA_BENCH_CASE("hall-wide-outline", hallWideOutlineMs)
NIMBARA_BENCH_CASE("three-pictures", threePicturesMs)
NIMBARA_BENCH_CASE("fade", fadeMs)
NIMBARA_BENCH_CASE("transition-slide", slideMs)
NIMBARA_BENCH_CASE("transition-wipe", wipeMs)
NIMBARA_BENCH_CASE("transition-clip", clipMs)

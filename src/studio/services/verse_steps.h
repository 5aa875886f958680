#pragma once

#include "base/message.h"
#include "bible/passage.h"
#include "studio/edit/stage.h"
#include "studio/programs/program_control.h"
#include "studio/services/bible_desk.h"
#include "studio/services/verse_desk.h"

#include <QFuture>
#include <QObject>

#include <cstdint>
#include <optional>
#include <vector>

namespace nimbara {

/// Steps through the pages of a verse layer, and past them through the Bible. What is stepped while
/// it is on air steps on air at once: every verse layer of both programs that shows the same
/// passage steps along, each by its own box. What the next step would show is made ready while the
/// operator reads (`VersePager::makeAhead`). Interface thread only; nothing here waits.
class VerseSteps : public QObject {
    Q_OBJECT
public:
    /// All must outlive this.
    struct Surroundings {
        Stage &stage;
        ProgramControl &program;
        VerseDesk &verses;
        BibleDesk &bibles;
    };
    enum class Direction : std::int32_t { Back = -1, On = 1 };
    /// How long the scenes stay as they are, when it was no step, before the next pages are made
    /// ready.
    static constexpr std::int64_t stillUs = 100'000;

    explicit VerseSteps(const Surroundings &surroundings);

    /// One page on or back; past the last page the next verse, before the first the end of the
    /// previous one. Steps the layer when it is a verse layer of the scene in PREVIEW, else the
    /// front-most verse layer of that scene, else that of the edited set's program, or of the
    /// other.
    void step(LayerId layer, Direction direction);
    /// The same for who presses without a look at the desk: steps a verse that is on air where
    /// there is one.
    void stepOnAir(LayerId layer, Direction direction);

    /// There is time until the next frame is due.
    void useTime(std::int64_t nowUs);

Q_SIGNALS:
    /// One line for the operator.
    void said(const nimbara::Message &text);

private:
    /// A verse layer and the size of the program that it stands in.
    struct Spot {
        Layer layer;
        FrameSize frame;
    };
    /// An online text that is on its way.
    struct Awaited {
        Spot from;
        bible::Passage passage;
        Direction direction = Direction::On;
    };

    /// What a step depends on, as far as it may change between two of them.
    struct Stand {
        ScenePtr prepared;
        ScenePtr streams;
        ScenePtr hall;
        FrameSize previewFrame;
        FrameSize streamFrame;
        bool operator==(const Stand &) const = default;
    };

    void stepFrom(const std::optional<Spot> &lead, Direction direction);
    [[nodiscard]] std::optional<Spot> leadNow() const;
    [[nodiscard]] std::optional<Spot> spotOf(LayerId layer) const;
    [[nodiscard]] std::optional<Spot> spotOnAir() const;
    [[nodiscard]] std::vector<Spot> onAir() const;
    [[nodiscard]] std::vector<Spot> following(const Spot &lead) const;
    [[nodiscard]] bool isPrepared(const Layer &shown, LayerId layer) const;
    [[nodiscard]] Spot paceOf(const Spot &lead, const std::vector<Spot> &followers) const;
    [[nodiscard]] std::optional<std::size_t> nextPage(const Spot &pace, Direction direction) const;
    [[nodiscard]] std::int32_t
    matchingPage(const Spot &spot, const VersePages &pace, std::size_t page) const;
    void turn(const Spot &lead, const Spot &pace, std::size_t page);
    void leave(const Spot &lead, Direction direction);
    void askOnline(const Spot &lead, const bible::Passage &passage, Direction direction);
    void receive(LayerId layer, bool isFinal);
    void showAwaited(LayerId layer);
    void show(const Spot &lead,
        const bible::Passage &passage,
        Direction direction,
        const SetVerse &verse);
    [[nodiscard]] static SetVerse followed(const Spot &spot,
        const Spot &lead,
        const bible::Passage &passage,
        const SetVerse &verse);
    [[nodiscard]] Stand standNow() const;
    void makeReady(const std::optional<Spot> &lead);
    [[nodiscard]] static std::vector<PagedLayer> neighboursOf(const Spot &lead,
        const std::vector<Spot> &followers,
        const bible::Bible &bible,
        Direction direction);
    void apply(const Spot &lead, const SetVerse &verse, const std::vector<SetVerse> &followers);
    [[nodiscard]] SetVerse placed(const Spot &spot, SetVerse verse, Direction direction);
    void tell(const Spot &spot, const SetVerse &verse);

    Surroundings m_surroundings;
    QFuture<void> m_ready; ///< the built-in Bibles are loaded
    std::optional<Awaited> m_awaited;
    bool m_isAsking = false; ///< a lookup is being begun
    LayerId m_stepped; ///< that was asked to step, or was written, last
    bool m_stepsOnAir = false; ///< the last step set out from what is on air
    Stand m_stand; ///< when it was looked at last
    std::int64_t m_standsSinceUs = 0;
    bool m_isReady = false; ///< what the next steps from there show has been asked for
    bool m_hasStepped = false; ///< since then, or a verse was written
};

} // namespace nimbara

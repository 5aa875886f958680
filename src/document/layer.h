#pragma once

#include "document/ids.h"

#include <QColor>
#include <QString>

#include <cstdint>

namespace nimbara {

/// What a layer shows. The values are the 32-bit integers of the record; anything outside draws as
/// a missing picture.
enum class LayerKind : std::int32_t {
    Camera = 0,
    Image = 1,
    Text = 2,
    Video = 3,
    Screen = 4,
    Color = 5,
    Verse = 6,
    Subtitle = 7,
    Clock = 8,
};

/// The kind of a project file's word; an unknown word is a camera.
LayerKind kindFromWord(const QString &word);
/// The word of a kind; a value outside 1..8 is "camera".
QString wordOfKind(LayerKind kind);
/// The kind's name for the operator, translated; empty for an unknown value.
QString displayName(LayerKind kind);

/// Kinds whose box keeps its aspect and that may cover it: camera, image, video, screen.
bool isPicture(LayerKind kind);
/// Kinds with a text style: text, verse, subtitle, clock.
bool isText(LayerKind kind);

/// Alignment bits of a layer, as project files hold them.
namespace align {
constexpr std::int32_t left = 1;
constexpr std::int32_t right = 2;
constexpr std::int32_t horizontalCentre = 4;
constexpr std::int32_t justify = 8;
constexpr std::int32_t top = 32;
constexpr std::int32_t bottom = 64;
constexpr std::int32_t verticalCentre = 128;
constexpr std::int32_t horizontalMask = left | right | horizontalCentre | justify;
constexpr std::int32_t verticalMask = top | bottom | verticalCentre;
} // namespace align

/// How a verse layer places two Bibles, which of them it shows, how it shows verse numbers and
/// where the reference: as project files hold it. The first of each is what a new layer has.
namespace arrange {
constexpr std::int32_t above = 0; ///< the first one above the second
constexpr std::int32_t beside = 1;
constexpr std::int32_t alternating = 2; ///< verse by verse
constexpr std::int32_t last = alternating;
} // namespace arrange
namespace shown_bibles {
constexpr std::int32_t both = 0;
constexpr std::int32_t first = 1;
constexpr std::int32_t second = 2;
constexpr std::int32_t last = second;
} // namespace shown_bibles
namespace verse_numbers {
constexpr std::int32_t plain = 0; ///< as the words
constexpr std::int32_t raised = 1; ///< small and dim
constexpr std::int32_t hidden = 2;
constexpr std::int32_t last = hidden;
} // namespace verse_numbers
namespace reference_place {
constexpr std::int32_t after = 0;
constexpr std::int32_t before = 1;
constexpr std::int32_t hidden = 2;
constexpr std::int32_t last = hidden;
} // namespace reference_place

/// Which language of the translation a subtitle layer shows, as project files hold it.
namespace caption_language {
constexpr std::int32_t first = 0;
constexpr std::int32_t second = 1; ///< where the translation has one; else the first
constexpr std::int32_t last = second;
} // namespace caption_language

/// What a clock layer tells, as project files hold it.
namespace clock_shows {
constexpr std::int32_t time = 0; ///< the time of day
constexpr std::int32_t timeInSeconds = 1; ///< the same, with its seconds
constexpr std::int32_t untilTime = 2; ///< what is left until a time of the day
constexpr std::int32_t duration = 3; ///< what is left of a length that the operator starts
constexpr std::int32_t last = duration;
} // namespace clock_shows

/// The operator's choice of alignment, numbered as the list shows it.
enum class HorizontalAlign : std::int32_t { Left = 0, Centre = 1, Right = 2 };

/// How alignment bits place the text across; justified text and no bit at all are left.
HorizontalAlign horizontalAlign(std::int32_t bits);
/// The bits with another horizontal alignment; the vertical bits stay as they are.
std::int32_t withHorizontalAlign(std::int32_t bits, HorizontalAlign choice);

/// Kinds that play something opened for them: video, screen.
bool hasSource(LayerKind kind);

struct Layer;
/// It plays a network camera (RTSP or SRT), whose picture waits `latency` for what the network
/// delivers late.
bool hasLatency(const Layer &layer);

/// One picture source or text in a box of the output frame. A plain value without anything live:
/// the decoded picture stands on a shelf by its path, the open source in a pool by `source`.
struct Layer {
    static constexpr std::int32_t minSize = 8;
    static constexpr std::int32_t maxSize = 400;
    static constexpr std::int32_t minSmallest = 20;
    static constexpr std::int32_t minLatency = 100;
    static constexpr std::int32_t maxLatency = 2000;
    static constexpr std::int32_t usualLatency = 200;
    static constexpr std::int32_t minSpacing = 50;
    static constexpr std::int32_t maxSpacing = 300;
    static constexpr std::int32_t usualStrength = 100;
    static constexpr std::int32_t maxStrength = 200;
    static constexpr std::int32_t lastMinute = 24 * 60 - 1;
    static constexpr std::int32_t longestSeconds = 24 * 60 * 60 - 1;

    LayerId id = LayerId::make(); ///< a copy keeps it; a second layer like this one needs another
    SourceId source = SourceId::make(); ///< what it plays; layers that share it play the same
    LayerKind kind = LayerKind::Camera;
    QString name; ///< the operator's label
    bool visible = true;
    bool locked = false; ///< neither moved nor scaled on the canvas
    double opacity = 1.0; ///< 0..1
    double x = 0; ///< box, as fractions of the frame's width (x, w) and height (y, h)
    double y = 0;
    double w = 1;
    double h = 1;
    QString path; ///< image file
    QString text; ///< body text; of a subtitle layer, written for each frame; clock: at its zero
    QString reference; ///< verse: the reference line; subtitle: the highlighted newest phrase
    QString font = QStringLiteral("Arial");
    std::int32_t size = 56; ///< pixels per 1080 lines of frame height, 8..400
    bool bold = true;
    QColor color = Qt::white;
    QColor background = QColor(0, 0, 0, 150); ///< box behind the text; alpha 0: none
    std::int32_t align = align::horizontalCentre | align::verticalCentre;
    bool shadow = true; ///< a dark outline, and a shadow below the letters
    std::int32_t outlineWidth = usualStrength; ///< in percent of the usual one, 0..200
    std::int32_t shadowStrength = usualStrength; ///< paler below 100, further above; 0..200
    std::int32_t spacing = 100; ///< of lines, in percent of the font's, 50..300
    bool upperCase = false; ///< shown in capitals, whatever the text is written in
    QString style; ///< the named style that it follows (`SceneSets::styles`); empty: none
    QString uri; ///< media location, as the operator gave it; camera: its device, a JSON object
    bool sound = true; ///< video: its sound is heard on the stream program
    std::int32_t latency = usualLatency; ///< video, see `hasLatency`: ms, 100..2000
    bool cover = false; ///< fill the box and crop, instead of fitting the picture whole
    QColor fill = QColor(12, 48, 88); ///< colour layers
    bool paged = true; ///< verse: what is too long for the box is made smaller, then split
    std::int32_t smallest = 60; ///< verse: its smallest letters, in percent of `size`, 20..100
    std::int32_t page = 0; ///< verse: the page shown, from 0; beyond the last one means the last
    std::int32_t numbers = verse_numbers::plain; ///< verse: how its numbers look
    std::int32_t referencePlace = reference_place::after; ///< verse
    QString second; ///< verse: the second Bible's identifier; empty: none
    QString secondText; ///< the same passage in it; empty where it has none
    QString secondReference;
    std::int32_t arrangement = arrange::above; ///< of the two Bibles
    std::int32_t shows = shown_bibles::both; ///< of the two; nothing blank: see `shownVerse`
    std::int32_t language = caption_language::first; ///< subtitle
    std::int32_t clockShows = clock_shows::time;
    std::int32_t untilMinute = 10 * 60 + 30; ///< clock: of the day, 0..1439; the nearest is meant
    std::int32_t duration = 5 * 60; ///< clock: in seconds, 1..86,399; `source` names what runs

    bool operator==(const Layer &) const = default;
};

/// The verse layer with the texts that it shows, and all of them: what it does not show is emptied.
/// One that would be blank gives way to the other.
Layer shownVerse(Layer layer);

/// The layer with the named style's look: letters, colours, box, alignment.
Layer lookingAs(Layer layer, const Layer &look);

/// The look of a verse layer, to be kept: without its texts, name and place.
Layer verseStyleOf(const Layer &layer);
/// The layer with another's look.
Layer styledAs(Layer layer, const Layer &style);

/// A new layer of the kind with its default box and texts, not yet named (a subtitle layer is).
Layer newLayer(LayerKind kind);

} // namespace nimbara

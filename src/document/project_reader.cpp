#include "base/error.h"
#include "base/i18n.h"
#include "document/layer_geometry.h"
#include "document/media_paths.h"
#include "document/project_file.h"
#include "document/text_styles.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <optional>

namespace nimbara {

using nimbara_i18n::tr;

namespace {

/// No chapter has that many pages, whatever its box.
constexpr std::int32_t maxPage = 9999;
/// Objects and arrays of one file: the items, each scene's list, and room for what is unknown.
constexpr std::size_t maxProjectContainers
    = 3 * maxProjectItems + 2 * Project::maxPassages + SceneSets::mostStyles;

/// Reads the members of one object. What is missing or of another type takes the default.
class Members {
public:
    explicit Members(const QJsonValue &value)
        : m_object(value.toObject())
    {
    }

    [[nodiscard]] QJsonValue value(const char *key) const
    {
        return m_object.value(QLatin1String(key));
    }
    [[nodiscard]] QString text(const char *key) const { return value(key).toString(); }
    /// An object as text, always alike; empty without one.
    [[nodiscard]] QString object(const char *key) const
    {
        const QJsonObject found = value(key).toObject();
        return found.isEmpty()
            ? QString()
            : QString::fromUtf8(QJsonDocument(found).toJson(QJsonDocument::Compact));
    }
    [[nodiscard]] bool flag(const char *key, bool missing) const
    {
        return value(key).toBool(missing);
    }
    [[nodiscard]] double number(const char *key, double missing, double low, double high) const
    {
        const QJsonValue found = value(key);
        const double read = found.isDouble() ? found.toDouble() : missing;
        return std::isfinite(read) ? std::clamp(read, low, high) : missing;
    }
    /// A fraction is cut off.
    [[nodiscard]] std::int32_t
    integer(const char *key, std::int32_t missing, std::int32_t low, std::int32_t high) const
    {
        return static_cast<std::int32_t>(number(key, missing, low, high));
    }
    /// The integer when it is exactly one, and within the bounds.
    [[nodiscard]] std::optional<std::int32_t>
    exact(const char *key, std::int32_t low, std::int32_t high) const
    {
        const QJsonValue found = value(key);
        const double read = found.toDouble();
        if (!found.isDouble() || std::trunc(read) != read || read < low || read > high) {
            return std::nullopt;
        }
        return static_cast<std::int32_t>(read);
    }
    [[nodiscard]] QColor color(const char *key, const QColor &missing) const
    {
        const QColor read = QColor::fromString(text(key));
        // Eight bits per channel, as they are written.
        return read.isValid() ? QColor::fromRgba(read.rgba()) : missing;
    }

private:
    QJsonObject m_object;
};

Box boxFrom(const Members &members)
{
    const auto number = [&](const char *key, double missing) {
        return members.number(key, missing, -maxBoxReach, maxBoxReach);
    };
    const Box box { number("x", 0), number("y", 0), number("w", 1), number("h", 1) };
    return box.w <= 0.01 || box.h <= 0.01 ? fullFrame : box;
}

std::int32_t alignFrom(const Members &members)
{
    constexpr std::int32_t known = align::horizontalMask | align::verticalMask;
    const auto bits = members.exact("align", 0, 0xffff);
    return bits ? *bits & known : Layer {}.align;
}

void readVerse(Layer &layer, const Members &members)
{
    layer.numbers = members.integer("numbers", layer.numbers, 0, verse_numbers::last);
    layer.referencePlace
        = members.integer("referencePlace", layer.referencePlace, 0, reference_place::last);
    layer.second = members.text("second");
    layer.secondText = members.text("secondText");
    layer.secondReference = members.text("secondReference");
    layer.arrangement = members.integer("arrangement", layer.arrangement, 0, arrange::last);
    layer.shows = members.integer("shows", layer.shows, 0, shown_bibles::last);
}

void readClock(Layer &layer, const Members &members)
{
    layer.clockShows = members.integer("clock", layer.clockShows, 0, clock_shows::last);
    layer.untilMinute = members.integer("untilMinute", layer.untilMinute, 0, Layer::lastMinute);
    layer.duration = members.integer("duration", layer.duration, 1, Layer::longestSeconds);
}

Layer layerFrom(const QJsonValue &value, const QString &folder)
{
    const Members members(value);
    Layer layer;
    layer.kind = kindFromWord(members.text("kind"));
    layer.name = members.text("name");
    layer.visible = members.flag("visible", layer.visible);
    layer.locked = members.flag("locked", layer.locked);
    layer.opacity = members.number("opacity", layer.opacity, 0, 1);
    setBox(layer, boxFrom(members));
    layer.path = members.text("path");
    layer.uri = layer.kind == LayerKind::Camera ? members.object("device") : members.text("uri");
    if (!folder.isEmpty()) {
        const FileTest exists = [](const QString &path) { return QFileInfo::exists(path); };
        layer.path = resolvePath(folder, layer.path, members.text("relativePath"), exists);
        layer.uri = resolveUri(folder, layer.uri, members.text("relativeUri"), exists);
    }
    layer.text = members.text("text");
    layer.reference = members.text("reference");
    layer.font = members.value("font").toString(layer.font);
    layer.size = members.integer("size", layer.size, Layer::minSize, Layer::maxSize);
    layer.bold = members.flag("bold", layer.bold);
    layer.color = members.color("color", layer.color);
    layer.background = members.color("background", layer.background);
    layer.align = alignFrom(members);
    layer.shadow = members.flag("shadow", layer.shadow);
    layer.sound = members.flag("sound", layer.sound);
    layer.latency = members.integer("latency", layer.latency, Layer::minLatency, Layer::maxLatency);
    layer.cover = members.flag("cover", layer.cover);
    layer.fill = members.color("fill", layer.fill);
    layer.paged = members.flag("paged", layer.paged);
    layer.smallest = members.integer("smallest", layer.smallest, Layer::minSmallest, 100);
    layer.page = members.integer("page", layer.page, 0, maxPage);
    readVerse(layer, members);
    layer.language = members.integer("language", layer.language, 0, caption_language::last);
    layer.spacing = members.integer("spacing", layer.spacing, Layer::minSpacing, Layer::maxSpacing);
    layer.upperCase = members.flag("upperCase", layer.upperCase);
    layer.outlineWidth = members.integer("outlineWidth", layer.outlineWidth, 0, Layer::maxStrength);
    layer.shadowStrength
        = members.integer("shadowStrength", layer.shadowStrength, 0, Layer::maxStrength);
    layer.style = members.text("style");
    readClock(layer, members);
    return layer;
}

/// None where there is none, or one of an unknown kind.
std::optional<Transition> transitionFrom(const QJsonValue &value)
{
    const Members members(value);
    const auto kind = transitionFromWord(members.text("kind"));
    if (!kind) {
        return std::nullopt;
    }
    return Transition { *kind,
        members.integer("ms", Transition::usualMs, Transition::shortestMs, Transition::longestMs) };
}

/// The absolute path of a file of the project, also when its folder was moved.
QString pathFrom(const Members &members, const QString &folder)
{
    const FileTest exists = [](const QString &path) { return QFileInfo::exists(path); };
    const QString path = members.text("path");
    return folder.isEmpty() ? path
                            : resolvePath(folder, path, members.text("relativePath"), exists);
}

TransitionClip transitionClipFrom(const QJsonValue &value, const QString &folder)
{
    const Members members(value);
    return { pathFrom(members, folder),
        members.integer("cutMs", TransitionClip::usualCutMs, 0, TransitionClip::latestCutMs) };
}

std::vector<TextStyle> stylesFrom(const QJsonArray &array)
{
    SceneSets known;
    for (const auto &entry : array) {
        const QString name = Members(entry).text("name").trimmed();
        if (!name.isEmpty() && findStyle(known, name) == nullptr
            && known.styles.size() < SceneSets::mostStyles) {
            known.styles.push_back({ name, lookOf(layerFrom(entry, {})) });
        }
    }
    return known.styles;
}

std::vector<KeptPassage> passagesFrom(const QJsonValue &value)
{
    std::vector<KeptPassage> passages;
    for (const auto &entry : value.toArray()) {
        const Members members(entry);
        if (passages.size() < Project::maxPassages && !members.text("reference").isEmpty()) {
            passages.push_back({ members.text("reference"), members.text("words") });
        }
    }
    return passages;
}

/// `room`: how many more scenes and layers the file may hold.
void claim(std::size_t &room, qsizetype items)
{
    if (static_cast<std::size_t>(items) > room) {
        throw Error(QStringLiteral("Proyecto inválido"));
    }
    room -= static_cast<std::size_t>(items);
}

/// What the layers of a file have in common.
struct Common {
    const SceneSets &styles;
    std::map<std::int32_t, SourceId> countdowns {}; ///< by what the file calls them
};

/// Layers that shared a countdown share one again.
void joinCountdown(Layer &layer, const Members &members, Common &common)
{
    const auto name = members.exact("countdown", 1, std::numeric_limits<std::int32_t>::max());
    if (layer.kind == LayerKind::Clock && name) {
        layer.source = common.countdowns.try_emplace(*name, layer.source).first->second;
    }
}

Scenes scenesFrom(const QJsonValue &value, const QString &folder, Common &common, std::size_t &room)
{
    const QJsonArray array = value.toArray();
    claim(room, array.size());
    Scenes scenes;
    scenes.reserve(static_cast<std::size_t>(array.size()));
    for (const auto &entry : array) {
        const Members members(entry);
        const QJsonArray layers = members.value("layers").toArray();
        claim(room, layers.size());
        Scene scene;
        scene.name = members.text("name");
        scene.transition = transitionFrom(members.value("transition"));
        scene.layers.reserve(static_cast<std::size_t>(layers.size()));
        for (const auto &layer : layers) {
            scene.layers.push_back(withKnownStyle(common.styles, layerFrom(layer, folder)));
            joinCountdown(scene.layers.back(), Members(layer), common);
        }
        scenes.push_back(std::make_shared<const Scene>(std::move(scene)));
    }
    return scenes;
}

/// The one scene of a version 1 file: a choice of camera, picture and media.
ScenePtr legacyScene(const Members &members)
{
    constexpr std::int32_t cameraScene = 0;
    constexpr std::int32_t imageScene = 2;
    const std::int32_t choice = members.integer("scene", cameraScene, -1, imageScene + 1);
    std::vector<Layer> layers;
    if (choice == cameraScene) {
        layers.emplace_back().name = tr("Cámara");
    }
    if (const QString path = members.text("image"); !path.isEmpty()) {
        Layer &image = layers.emplace_back();
        image.kind = LayerKind::Image;
        image.name = QFileInfo(path).fileName();
        image.path = path;
        setBox(image, choice == imageScene ? fullFrame : Box { 0.8, 0.03, 0.17, 0.17 });
    }
    if (const QString location = members.text("media"); !location.isEmpty()) {
        Layer &video = layers.emplace_back();
        video.kind = LayerKind::Video;
        video.name = tr("Video");
        video.uri = location;
    }
    return makeScene(tr("Escena 1"), std::move(layers));
}

void readSets(Project &project, const Members &members, std::int32_t version, const QString &folder)
{
    std::size_t room = maxProjectItems;
    Common common { project.scenes };
    Scenes &streams = project.scenes.of(SceneSet::Streams);
    Scenes &hall = project.scenes.of(SceneSet::Hall);
    if (version == 1) {
        streams = { legacyScene(members) };
    } else {
        streams = scenesFrom(members.value("scenes"), folder, common, room);
        hall = scenesFrom(members.value("hall"), folder, common, room);
    }
    for (const SceneSet set : bothSets) {
        if (project.scenes.of(set).empty()) {
            project.scenes.of(set).push_back(
                std::make_shared<const Scene>(defaultScene(set == SceneSet::Hall)));
        }
        const auto last = static_cast<std::int32_t>(project.scenes.of(set).size()) - 1;
        const char *key = set == SceneSet::Hall ? "currentHall" : "current";
        project.setCurrentPlace(set, static_cast<std::size_t>(members.integer(key, 0, 0, last)));
    }
}

/// How many objects and arrays the text opens, outside its strings.
std::size_t containersIn(const QByteArray &json)
{
    std::size_t count = 0;
    bool inString = false;
    bool escaped = false;
    for (const char byte : json) {
        if (escaped) {
            escaped = false;
        } else if (inString && byte == '\\') {
            escaped = true;
        } else if (byte == '"') {
            inString = !inString;
        } else if (!inString && (byte == '{' || byte == '[')) {
            ++count;
        }
    }
    return count;
}

QString cutText(const QString &text, qsizetype length)
{
    QString cut = text.left(length);
    if (cut.size() < text.size() && cut.back().isHighSurrogate()) {
        cut.chop(1); // half a character is none
    }
    return cut;
}

Terms termsFrom(const QJsonArray &array)
{
    Terms terms;
    for (const auto &entry : array) {
        const Members members(entry);
        const auto text = [&members](const char *key) {
            return cutText(members.text(key), Project::maxTermLength);
        };
        if (const QString said = text("said");
            !said.trimmed().isEmpty() && terms.size() < Project::maxTerms) {
            terms.append({ said, text("shown"), text("language") });
        }
    }
    return terms;
}

} // namespace

Project fromJson(const QByteArray &json, const QString &folder)
{
    // A parsed object takes many times the memory of its two brackets: counted before it is parsed.
    if (json.size() > maxProjectBytes || containersIn(json) > maxProjectContainers) {
        throw Error(QStringLiteral("Proyecto inválido"));
    }
    const Members members(QJsonDocument::fromJson(json).object());
    const auto version = members.exact("version", 1, 3);
    if (!version) {
        throw Error(QStringLiteral("Versión de proyecto inválida"));
    }
    const auto gain = members.exact("gain", 0, Project::maxGain);
    if (!gain) {
        throw Error(QStringLiteral("Opciones de proyecto inválidas"));
    }
    Project project;
    project.profile
        = members.flag("vertical", false) ? StreamProfile::Portrait : StreamProfile::Landscape;
    project.scenes.styles = stylesFrom(members.value("styles").toArray());
    readSets(project, members, *version, folder);
    project.band = members.flag("band", false);
    project.title = cutText(members.text("title"), Project::maxTitle);
    project.gain = *gain;
    project.videoKbits = members.integer("videoKbits",
        Project::usualVideoKbits,
        Project::minVideoKbits,
        Project::maxVideoKbits);
    project.terms = termsFrom(members.value("glossary").toArray());
    project.passages = passagesFrom(members.value("passages"));
    if (const QJsonValue style = members.value("verseStyle"); style.isObject()) {
        project.verseStyle = verseStyleOf(layerFrom(style, {}));
    }
    project.transition = transitionFrom(members.value("transition")).value_or(Transition {});
    project.transitionClip = transitionClipFrom(members.value("transitionClip"), folder);
    project.hallTransitions = members.flag("hallTransitions", false);
    return project;
}

} // namespace nimbara

// Feeds damaged project files to the reader: project_fuzz <corpus folder> [mutations] [seed].
// A finding is written to "project_fuzz.finding" and ends the run with 1. The same seed makes the
// same files.

#include "base/error.h"
#include "document/project_file.h"

#include <QDir>
#include <QFile>
#include <QList>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <random>
#include <stdexcept>
#include <sys/resource.h>

using namespace nimbara;

namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr double mostSeconds = 20;
constexpr long mostMebibytes = 4000;
#else
constexpr double mostSeconds = 1;
constexpr long mostMebibytes = 200;
#endif

class Mutator {
public:
    Mutator(QList<QByteArray> corpus, unsigned seed)
        : m_corpus(std::move(corpus))
        , m_random(seed)
    {
    }

    QByteArray next()
    {
        QByteArray file = oneOf(m_corpus);
        for (std::size_t steps = below(5); steps > 0; --steps) {
            mutate(file);
        }
        // One file in 500 grows to the largest size that is read.
        if (below(500) == 0) {
            inflate(file);
        }
        file.truncate(maxProjectBytes);
        return file;
    }

private:
    std::size_t below(std::size_t bound) { return m_random() % bound; }
    const QByteArray &oneOf(const QList<QByteArray> &list)
    {
        return list.at(static_cast<qsizetype>(below(static_cast<std::size_t>(list.size()))));
    }
    qsizetype placeIn(const QByteArray &file)
    {
        return static_cast<qsizetype>(below(static_cast<std::size_t>(file.size()) + 1));
    }

    void mutate(QByteArray &file)
    {
        const qsizetype place = placeIn(file);
        const auto length = static_cast<qsizetype>(below(64));
        switch (below(20)) {
        case 0:
            file.insert(place, static_cast<char>(below(256)));
            break;
        case 1:
            file.remove(place, length);
            break;
        case 2:
            file.insert(placeIn(file), file.mid(place, length * 8));
            break;
        case 3:
            file = file.left(place) + oneOf(m_corpus).mid(place + length);
            break;
        case 4:
            file.insert(place, QByteArray(R"([{"\,0]})").mid(length % 7, 1).repeated(length * 40));
            break;
        default:
            replaceValue(file, place);
        }
    }

    /// Puts another value after the next colon, so that the document stays one more often than not.
    void replaceValue(QByteArray &file, qsizetype from)
    {
        const qsizetype colon = file.indexOf(':', from);
        if (colon >= 0) {
            const qsizetype end = file.indexOf(',', colon);
            const qsizetype length = end < 0 ? 1 : end - colon - 1;
            file.replace(colon + 1, length, oneOf(m_values));
        }
    }

    void inflate(QByteArray &file)
    {
        const qsizetype place = qMax<qsizetype>(file.indexOf('[', placeIn(file)) + 1, 0);
        const QByteArray seed = oneOf(m_seeds);
        file.insert(place, seed.repeated((maxProjectBytes - file.size()) / seed.size() - 64));
    }

    const QList<QByteArray> m_values = QByteArray(
        R"(0 -1 -0 4 0.01 1e308 -1e308 1e999 NaN 2147483648 -9223372036854775809 99.5 null
true [] {} [[]] "" "#12345678" "#g" "\ud800" "\u0000" "subtitle" "image" {"layers":[{}]}
[{"layers":[{},7]}])")
                                           .simplified()
                                           .split(' ');
    const QList<QByteArray> m_seeds
        = QByteArray(R"({}, [], 0, {"layers":[{},{}]}, [[{}]],)").split(' ');
    QList<QByteArray> m_corpus;
    std::mt19937 m_random;
};

bool isSound(const Layer &layer)
{
    const auto within = [](double value) { return std::abs(value) <= maxBoxReach; };
    return within(layer.x) && within(layer.y) && within(layer.w) && within(layer.h)
        && layer.w > 0.01 && layer.h > 0.01 && layer.opacity >= 0 && layer.opacity <= 1
        && layer.size >= Layer::minSize && layer.size <= Layer::maxSize && layer.color.isValid()
        && layer.background.isValid() && layer.fill.isValid() && !displayName(layer.kind).isEmpty();
}

bool isSound(const Project &project, SceneSet set)
{
    const Scenes &scenes = project.scenes.of(set);
    bool sound = project.currentPlace(set) < scenes.size();
    for (const ScenePtr &scene : scenes) {
        for (const Layer &layer : scene->layers) {
            sound = sound && isSound(layer);
        }
    }
    return sound;
}

double processorSeconds()
{
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

long peakMebibytes()
{
    rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss / 1024;
}

struct Outcome {
    int accepted = 0;
    double slowest = 0; ///< seconds of processor time for reading one file
};

/// The project, or none when the reader refused it with a reason.
std::optional<Project> read(const QByteArray &file, Outcome &outcome)
{
    std::optional<Project> project;
    const double before = processorSeconds();
    try {
        project = fromJson(file);
    } catch (const Error &error) {
        if (error.text().isEmpty()) {
            throw std::logic_error("refused without a reason");
        }
    }
    const double spent = processorSeconds() - before;
    outcome.slowest = std::max(outcome.slowest, spent);
    if (spent > mostSeconds) {
        throw std::logic_error("too slow");
    }
    return project;
}

/// Throws when a file is a finding.
void tryFile(const QByteArray &file, Outcome &outcome)
{
    const auto project = read(file, outcome);
    if (project) {
        ++outcome.accepted;
        if (!isSound(*project, SceneSet::Streams) || !isSound(*project, SceneSet::Hall)
            || project->gain < 0 || project->gain > Project::maxGain
            || project->title.size() > Project::maxTitle) {
            throw std::logic_error("a value outside its range");
        }
        const QByteArray written = toJson(*project);
        if (written.size() <= maxProjectBytes && toJson(fromJson(written)) != written) {
            throw std::logic_error("written again, it reads otherwise");
        }
    }
    if (peakMebibytes() > mostMebibytes) {
        throw std::logic_error("too much memory");
    }
}

/// The corpus folder's files and one written by the program itself.
QList<QByteArray> corpusIn(const char *folder)
{
    QList<QByteArray> corpus;
    const QDir dir(QString::fromUtf8(folder));
    for (const QString &name : dir.entryList(QDir::Files, QDir::Name)) {
        corpus.push_back(readProjectFile(dir.filePath(name)));
    }
    Project project = newProject();
    for (int kind = 0; kind < 8; ++kind) {
        const Layer layer = newLayer(static_cast<LayerKind>(kind));
        project.scenes.of(SceneSet::Streams).push_back(makeScene(layer.name, { layer, layer }));
    }
    corpus.push_back(toJson(project));
    return corpus;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 2) {
        std::fputs("project_fuzz <corpus folder> [mutations] [seed]\n", stderr);
        return 2;
    }
    const long mutations = argc > 2 ? std::strtol(argv[2], nullptr, 10) : 3000;
    const long seed = argc > 3 ? std::strtol(argv[3], nullptr, 10) : 1;
    Mutator mutator(corpusIn(argv[1]), static_cast<unsigned>(seed));
    Outcome outcome;
    for (long i = 0; i < mutations; ++i) {
        const QByteArray file = mutator.next();
        try {
            tryFile(file, outcome);
        } catch (const std::exception &finding) {
            QFile kept(QStringLiteral("project_fuzz.finding"));
            if (kept.open(QIODevice::WriteOnly)) {
                kept.write(file);
            }
            std::fprintf(stderr, "mutation %ld of seed %ld: %s\n", i, seed, finding.what());
            return 1;
        }
    }
    std::printf("%ld files, %d accepted, slowest %.3f s, peak %ld MiB\n",
        mutations,
        outcome.accepted,
        outcome.slowest,
        peakMebibytes());
    // A mutator that only makes broken files tests nothing beyond the parser.
    return outcome.accepted > mutations / 20 ? 0 : 1;
}

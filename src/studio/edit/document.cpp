#include "studio/edit/document.h"

#include <algorithm>
#include <utility>

namespace nimbara {

namespace {

constexpr std::int64_t runUs = 1'000'000; ///< edits closer than this are one run

/// Which scenes the two sets do not share; `set` and place of the first one in `now`.
std::optional<ScenePlace> firstDifference(const SceneSets &now, const SceneSets &before)
{
    for (const SceneSet set : bothSets) {
        const Scenes &here = now.of(set);
        const Scenes &there = before.of(set);
        if (here == there) {
            continue;
        }
        const auto common = std::min(here.size(), there.size());
        const auto parted = std::mismatch(here.begin(),
            here.begin() + static_cast<std::ptrdiff_t>(common),
            there.begin());
        const auto place = static_cast<std::size_t>(parted.first - here.begin());
        return ScenePlace { set, std::min(place, here.size() - 1) };
    }
    return std::nullopt;
}

bool sameList(const SceneSets &a, const SceneSets &b)
{
    return std::all_of(bothSets.begin(), bothSets.end(), [&](SceneSet set) {
        const Scenes &one = a.of(set);
        const Scenes &other = b.of(set);
        return std::equal(one.begin(),
            one.end(),
            other.begin(),
            other.end(),
            [](const ScenePtr &x, const ScenePtr &y) {
                return x == y || (x->id == y->id && x->name == y->name);
            });
    });
}

} // namespace

Document::Document(const Clock &clock)
    : m_clock(clock)
    , m_project(newProject())
    , m_saved(m_project)
{
}

void Document::setEditing(SceneSet set)
{
    if (m_editing != set) {
        m_editing = set;
        Change change;
        change.current = true;
        tell(change);
    }
}

const ScenePtr &Document::current(SceneSet set) const
{
    return scenes().of(set)[m_project.currentPlace(set)];
}

void Document::showScene(SceneId scene)
{
    const auto place = placeOf(scenes(), scene);
    if (!place || currentId(place->set) == scene) {
        return;
    }
    currentId(place->set) = scene;
    m_runBroken = true;
    Change change;
    change.current = true;
    tell(change);
}

void Document::apply(const Edit &edit)
{
    apply(std::vector { edit });
}

void Document::apply(const std::vector<Edit> &edits, const char *name)
{
    const SceneSets before = scenes();
    SceneSets after = before;
    for (const Edit &edit : edits) {
        after = applied(after, edit);
    }
    if (after == before) {
        return;
    }
    m_project.scenes = std::move(after);
    const EditSubject subject = subjectOf(edits);
    record(before, subject, name != nullptr ? name : stepName(edits.back()));
    follow(subject, before);
}

/// Fields, a transition and verses are changed in runs.
bool Document::continues(const EditSubject &subject, const char *name) const
{
    const bool isVerse = qstrcmp(name, stepName(SetVerse {})) == 0;
    if (m_runBroken || m_undo.empty() || !(subject.field || subject.transition || isVerse)) {
        return false;
    }
    const Step &last = m_undo.back();
    const bool recent = m_clock.monotonicUs() - m_lastEditUs < runUs;
    return last.subject == subject && (m_gesture || recent)
        && (!isVerse || qstrcmp(last.name, name) == 0);
}

void Document::record(const SceneSets &before, const EditSubject &subject, const char *name)
{
    if (!continues(subject, name)) {
        push({ before, m_project.terms, name, subject });
    }
    m_redo.clear();
    m_lastEditUs = m_clock.monotonicUs();
    m_runBroken = false;
}

void Document::push(Step step)
{
    m_undo.push_back(std::move(step));
    if (m_undo.size() > mostSteps) {
        m_undo.pop_front();
    }
}

void Document::setTerms(const Terms &terms)
{
    if (terms == m_project.terms) {
        return;
    }
    push({ scenes(), std::exchange(m_project.terms, terms), "Glosario", {} });
    m_redo.clear();
    m_runBroken = true;
    Change change;
    change.terms = true;
    tell(change);
}

/// Moves PREVIEW along with edits, and tells of them.
void Document::follow(const EditSubject &subject, const SceneSets &before)
{
    Change change;
    change.layer = subject.lastLayer();
    change.all = subject.layers;
    change.field = subject.field;
    change.scenes = !sameList(scenes(), before);
    change.layers = !subject.field && !subject.layers.empty();
    if (change.scenes) {
        const ScenePtr shown = currentScene();
        settleCurrent(before);
        if (const auto place = placeOf(scenes(), subject.scene);
            place && !placeOf(before, subject.scene)) {
            currentId(place->set) = subject.scene;
        }
        change.current = shown != currentScene();
    }
    tell(change);
}

/// The scene before a current one that is gone becomes current, or the new first one.
void Document::settleCurrent(const SceneSets &before)
{
    for (const SceneSet set : bothSets) {
        const SceneId id = currentId(set);
        const auto now = placeOf(scenes(), id);
        if (now && now->set == set) {
            continue;
        }
        const auto old = placeOf(before, id);
        const std::size_t place = old && old->scene > 0 ? old->scene - 1 : 0;
        m_project.setCurrentPlace(set, std::min(place, scenes().of(set).size() - 1));
    }
}

void Document::endGesture()
{
    m_gesture = false;
    m_runBroken = true;
}

void Document::setTitle(const QString &title)
{
    if (std::exchange(m_project.title, title) == title) {
        return;
    }
    Change change;
    change.settings = true;
    tell(change);
}

void Document::setPassages(std::vector<KeptPassage> passages)
{
    passages.resize(std::min(passages.size(), Project::maxPassages));
    if (m_project.passages == passages) {
        return;
    }
    m_project.passages = std::move(passages);
    Change change;
    change.settings = true;
    tell(change);
}

void Document::setVerseStyle(std::optional<Layer> style)
{
    if (m_project.verseStyle == style) {
        return;
    }
    m_project.verseStyle = std::move(style);
    Change change;
    change.settings = true;
    tell(change);
}

void Document::setTransition(const Transition &transition)
{
    const Transition wanted = withinRange(transition);
    if (std::exchange(m_project.transition, wanted) == wanted) {
        return;
    }
    Change change;
    change.settings = true;
    tell(change);
}

void Document::setHallTransitions(bool on)
{
    if (std::exchange(m_project.hallTransitions, on) == on) {
        return;
    }
    Change change;
    change.settings = true;
    tell(change);
}

void Document::setTransitionClip(const TransitionClip &clip)
{
    const TransitionClip wanted = withinRange(clip);
    if (std::exchange(m_project.transitionClip, wanted) == wanted) {
        return;
    }
    Change change;
    change.settings = true;
    tell(change);
}

Layer Document::newVerseLayer() const
{
    const Layer plain = newLayer(LayerKind::Verse);
    return m_project.verseStyle ? styledAs(plain, *m_project.verseStyle) : plain;
}

void Document::setBand(bool band)
{
    if (std::exchange(m_project.band, band) == band) {
        return;
    }
    Change change;
    change.settings = true;
    tell(change);
}

void Document::setGain(std::int32_t percent)
{
    const std::int32_t gain = std::clamp(percent, 0, Project::maxGain);
    if (std::exchange(m_project.gain, gain) == gain) {
        return;
    }
    Change change;
    change.settings = true;
    tell(change);
}

void Document::setVideoKbits(std::int32_t kbits)
{
    const std::int32_t wanted = std::clamp(kbits, Project::minVideoKbits, Project::maxVideoKbits);
    if (std::exchange(m_project.videoKbits, wanted) == wanted) {
        return;
    }
    Change change;
    change.settings = true;
    tell(change);
}

void Document::setProfile(StreamProfile profile)
{
    if (std::exchange(m_project.profile, profile) == profile) {
        return;
    }
    Change change;
    change.settings = true;
    tell(change);
}

QString Document::undoName() const
{
    return m_undo.empty() ? QString() : QString::fromUtf8(m_undo.back().name);
}

QString Document::redoName() const
{
    return m_redo.empty() ? QString() : QString::fromUtf8(m_redo.back().name);
}

void Document::undo()
{
    exchange(m_undo, m_redo);
}

void Document::redo()
{
    exchange(m_redo, m_undo);
}

void Document::exchange(std::deque<Step> &from, std::deque<Step> &to)
{
    if (from.empty()) {
        return;
    }
    Step step = std::move(from.back());
    from.pop_back();
    const SceneSets before = scenes();
    m_project.scenes = std::exchange(step.scenes, before);
    std::swap(m_project.terms, step.terms);
    m_runBroken = true;
    settleCurrent(before);
    showWhere(before, step.subject);
    Change change;
    change.scenes = !sameList(scenes(), before);
    change.current = true;
    change.layers = true;
    change.layer = step.subject.lastLayer();
    change.all = step.subject.layers;
    change.terms = step.terms != m_project.terms;
    change.undone = true;
    to.push_back(std::move(step));
    tell(change);
}

void Document::showWhere(const SceneSets &before, const EditSubject &subject)
{
    auto place = placeOf(scenes(), subject.scene); // it may only have changed places
    if (const auto layer = placeOf(scenes(), subject.lastLayer()); !place && layer) {
        place = ScenePlace { layer->set, layer->scene };
    }
    if (!place || scenes().of(place->set) == before.of(place->set)) {
        const auto shown = placeOf(before, currentScene()->id);
        if (shown && before.of(shown->set)[shown->scene] != currentScene()) {
            return; // a style has changed in several scenes, this one among them
        }
        place = firstDifference(scenes(), before);
    }
    if (place) {
        m_editing = place->set;
        m_project.setCurrentPlace(place->set, place->scene);
    }
}

void Document::open(const Project &project)
{
    m_project = project;
    m_saved = project;
    m_undo.clear();
    m_redo.clear();
    m_runBroken = true;
    Change change;
    change.everything = change.scenes = change.current = change.settings = change.terms = true;
    change.layers = true;
    tell(change);
}

void Document::markSaved(const Project &saved)
{
    m_saved = saved;
    tell({});
}

void Document::markUnsaved()
{
    m_saved = {};
    tell({});
}

void Document::tell(const Change &change)
{
    Q_EMIT changed(change);
    if (const bool unsaved = hasUnsavedWork(); unsaved != m_toldUnsaved) {
        m_toldUnsaved = unsaved;
        Q_EMIT unsavedChanged(unsaved);
    }
}

} // namespace nimbara

#pragma once

#include "base/clock.h"
#include "document/edits.h"
#include "document/project.h"

#include <QObject>
#include <QString>

#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

namespace nimbara {

/// What a change of the document touched, so that a listener reads anew what it shows of it.
struct Change {
    bool everything = false; ///< another project stands on the desk
    bool scenes = false; ///< scenes came, went, moved or were renamed
    bool current = false; ///< PREVIEW shows another scene, or edits the other set
    bool settings = false; ///< format, title, band, gain, bit rate or transition
    bool terms = false; ///< the glossary
    bool layers = false; ///< layers of one scene or more came, went or changed places
    LayerId layer; ///< the last layer that an edit was about; it may be gone
    std::vector<LayerId> all; ///< every layer that it was about
    std::optional<LayerField> field; ///< the one field of them that changed, if only that did
    bool undone = false; ///< by undo or redo
};

/// The one door to the project: everything that changes scenes, layers and settings goes through
/// here, whoever asks (window, test, a remote control). Keeps the steps of undo, and knows what is
/// not saved. Nothing here touches what is on air. Interface thread only.
class Document : public QObject {
    Q_OBJECT
public:
    static constexpr std::size_t mostSteps = 500;

    explicit Document(const Clock &clock);

    /// As it is now: a value to keep, compare and write on any thread.
    [[nodiscard]] const Project &project() const { return m_project; }
    [[nodiscard]] const SceneSets &scenes() const { return m_project.scenes; }

    /// The set that PREVIEW shows and that TAKE acts on.
    [[nodiscard]] SceneSet editing() const { return m_editing; }
    [[nodiscard]] bool editingHall() const { return m_editing == SceneSet::Hall; }
    void setEditing(SceneSet set);
    [[nodiscard]] const Scenes &editedScenes() const { return scenes().of(m_editing); }

    /// The scene of the set that PREVIEW shows while that set is edited; there is always one.
    [[nodiscard]] const ScenePtr &current(SceneSet set) const;
    [[nodiscard]] const ScenePtr &currentScene() const { return current(m_editing); }
    /// Shows a scene of its set in PREVIEW; nothing happens when it is gone.
    void showScene(SceneId scene);

    /// Applies an edit as a step of undo. A run of edits of one field or of the verses of the same
    /// layers, or of one scene's transition, is one step: while a gesture lasts, or with less than
    /// a second between two of them. A new or copied scene becomes current, a deleted one hands on
    /// to the scene before it. Throws what the edit is refused with.
    void apply(const Edit &edit);
    /// Several edits as one step. `name`: a key of the text table; none: that of the last edit.
    /// Throws with none applied.
    void apply(const std::vector<Edit> &edits, const char *name = nullptr);

    /// Another glossary, as a step of undo.
    void setTerms(const Terms &terms);

    /// Encloses a drag or a slider's ride.
    void beginGesture() { m_gesture = true; }
    void endGesture();

    /// Settings are no steps of undo: the operator sets them while they are on air.
    void setTitle(const QString &title);
    void setBand(bool band);
    void setGain(std::int32_t percent); ///< 0..200
    void setVideoKbits(std::int32_t kbits); ///< 500..20,000 kbit/s
    void setProfile(StreamProfile profile);
    void setPassages(std::vector<KeptPassage> passages); ///< what exceeds the most is cut off
    void setVerseStyle(std::optional<Layer> style);
    void setTransition(const Transition &transition); ///< brought into range
    void setHallTransitions(bool on);
    void setTransitionClip(const TransitionClip &clip); ///< brought into range
    /// A new verse layer with the look that the project keeps for it.
    [[nodiscard]] Layer newVerseLayer() const;

    /// The name of the step that would be undone or redone, a key of the text table; empty when
    /// there is none.
    [[nodiscard]] QString undoName() const;
    [[nodiscard]] QString redoName() const;
    /// PREVIEW goes to the scene where the step happened.
    void undo();
    void redo();

    /// Another project takes the place of this one; undo starts anew, nothing is unsaved.
    void open(const Project &project);

    /// Whether something would be lost with this project.
    [[nodiscard]] bool hasUnsavedWork() const { return differ(m_project, m_saved); }
    /// That value is on disk now; later edits are not.
    void markSaved(const Project &saved);
    /// The work was brought back from a copy that no file of the operator's holds.
    void markUnsaved();

Q_SIGNALS:
    void changed(const nimbara::Change &change);
    /// There is something to lose now, or no more.
    void unsavedChanged(bool unsaved);

private:
    struct Step {
        SceneSets scenes; ///< before the step, or after it when it was undone
        Terms terms; ///< the same
        const char *name = "";
        EditSubject subject;
    };

    void record(const SceneSets &before, const EditSubject &subject, const char *name);
    void push(Step step);
    [[nodiscard]] bool continues(const EditSubject &subject, const char *name) const;
    void follow(const EditSubject &subject, const SceneSets &before);
    void exchange(std::deque<Step> &from, std::deque<Step> &to);
    void settleCurrent(const SceneSets &before);
    void tell(const Change &change);
    [[nodiscard]] SceneId &currentId(SceneSet set)
    {
        return m_project.current.at(static_cast<std::size_t>(set));
    }
    void showWhere(const SceneSets &before, const EditSubject &subject);

    const Clock &m_clock;
    Project m_project;
    Project m_saved;
    bool m_toldUnsaved = false;
    SceneSet m_editing = SceneSet::Streams;
    std::deque<Step> m_undo;
    std::deque<Step> m_redo;
    bool m_gesture = false;
    bool m_runBroken = true; ///< the next edit begins a step of its own
    std::int64_t m_lastEditUs = 0;
};

} // namespace nimbara

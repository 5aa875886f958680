#include "document/project.h"

#include <algorithm>

namespace nimbara {

std::size_t Project::currentPlace(SceneSet set) const
{
    const Scenes &all = scenes.of(set);
    const SceneId id = current.at(static_cast<std::size_t>(set));
    const auto found = std::find_if(all.begin(), all.end(), [id](const ScenePtr &scene) {
        return scene->id == id;
    });
    return found == all.end() ? 0 : static_cast<std::size_t>(found - all.begin());
}

void Project::setCurrentPlace(SceneSet set, std::size_t place)
{
    const Scenes &all = scenes.of(set);
    current.at(static_cast<std::size_t>(set)) = place < all.size() ? all[place]->id : SceneId();
}

bool differ(const Project &a, const Project &b)
{
    Project seenAlike = a;
    seenAlike.current = b.current;
    return seenAlike != b;
}

namespace {

Transition usualTransition(const Project &project, SceneSet set)
{
    return set == SceneSet::Hall && !project.hallTransitions ? plainCut : project.transition;
}

} // namespace

Transition transitionTo(const Project &project, SceneSet set, const Scene &scene)
{
    Transition transition = scene.transition.value_or(usualTransition(project, set));
    if (transition.kind == TransitionKind::Clip && project.transitionClip.path.isEmpty()) {
        transition.kind = TransitionKind::Fade;
    }
    return transition;
}

Transition transitionToBlack(const Project &project, SceneSet set)
{
    Transition transition = usualTransition(project, set);
    if (transition.kind != TransitionKind::Cut) {
        transition.kind = TransitionKind::Fade;
    }
    return transition;
}

Project newProject()
{
    Project project;
    for (const SceneSet set : bothSets) {
        project.scenes.of(set)
            = { std::make_shared<const Scene>(defaultScene(set == SceneSet::Hall)) };
        project.setCurrentPlace(set, 0);
    }
    return project;
}

} // namespace nimbara

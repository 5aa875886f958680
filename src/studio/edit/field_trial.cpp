#include "studio/edit/field_trial.h"

#include <utility>

namespace nimbara {

void FieldTrial::show(SetField edit)
{
    m_edit = std::move(edit);
    m_of = {};
}

void FieldTrial::end()
{
    m_edit.reset();
    m_of = m_shown = {};
}

const ScenePtr &FieldTrial::on(const SceneSets &scenes, const ScenePtr &scene)
{
    if (!m_edit) {
        return scene;
    }
    if (m_of != scene) {
        const SceneSets tried = applied(scenes, *m_edit);
        const auto place = placeOf(tried, scene->id);
        m_shown = place ? tried.of(place->set)[place->scene] : scene;
        m_of = scene;
    }
    return m_shown;
}

} // namespace nimbara

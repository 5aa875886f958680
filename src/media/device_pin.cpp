#include "media/device_pin.h"

#include "media/gst_handles.h"

namespace nimbara {

void pinToDevice(GstElement *element)
{
    constexpr const char *property = "stream-properties";
    const GParamSpec *declared = element == nullptr
        ? nullptr
        : g_object_class_find_property(G_OBJECT_GET_CLASS(element), property);
    if (declared == nullptr || G_PARAM_SPEC_VALUE_TYPE(declared) != GST_TYPE_STRUCTURE) {
        return;
    }
    GstStructure *current = nullptr;
    g_object_get(element, property, &current, nullptr);
    const StructurePtr properties(
        current != nullptr ? current : gst_structure_new_empty("properties"));
    gst_structure_set(properties.get(), "node.dont-reconnect", G_TYPE_STRING, "true", nullptr);
    g_object_set(element, property, properties.get(), nullptr);
}

} // namespace nimbara

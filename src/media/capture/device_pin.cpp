#include "media/capture/device_pin.h"

#include "media/gst/gst_handles.h"

namespace nimbara {

namespace {

/// PipeWire takes the memory of its pictures away when a device changes or goes, also from under a
/// conversion that is still reading them, which ends the process. A copy at arrival is short.
void readCopies(GstElement *element)
{
    constexpr const char *property = "always-copy";
    const GParamSpec *declared
        = g_object_class_find_property(G_OBJECT_GET_CLASS(element), property);
    if (declared != nullptr && G_PARAM_SPEC_VALUE_TYPE(declared) == G_TYPE_BOOLEAN) {
        g_object_set(element, property, TRUE, nullptr);
    }
}

} // namespace

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
    readCopies(element);
}

} // namespace nimbara

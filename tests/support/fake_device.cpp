#include "support/fake_device.h"

#include <stdexcept>

namespace nimbara::testing {

namespace {

constexpr const char *opensKey = "opens";

GstElement *openFakeDevice(GstDevice *device, const gchar *name)
{
    const auto *opens = static_cast<const gchar *>(g_object_get_data(G_OBJECT(device), opensKey));
    if (*opens == '\0') {
        return nullptr;
    }
    GError *error = nullptr;
    GstElement *element = gst_parse_bin_from_description_full(opens,
        TRUE,
        nullptr,
        GST_PARSE_FLAG_NO_SINGLE_ELEMENT_BINS,
        &error);
    const GErrorPtr held(error);
    if (element != nullptr && name != nullptr) {
        gst_object_set_name(GST_OBJECT_CAST(element), name);
    }
    return element;
}

void initFakeDeviceClass(gpointer deviceClass, gpointer /*data*/)
{
    static_cast<GstDeviceClass *>(deviceClass)->create_element = openFakeDevice;
}

GType fakeDeviceType()
{
    static const GType type = g_type_register_static_simple(GST_TYPE_DEVICE,
        "NimbaraFakeDevice",
        sizeof(GstDeviceClass),
        initFakeDeviceClass,
        sizeof(GstDevice),
        nullptr,
        GTypeFlags {});
    return type;
}

} // namespace

DeviceRef fakeDevice(const FakeDeviceRecipe &recipe)
{
    const auto caps = CapsRef::adopt(gst_caps_from_string(recipe.caps.c_str()));
    const StructurePtr properties(recipe.properties.empty()
            ? nullptr
            : gst_structure_from_string(recipe.properties.c_str(), nullptr));
    auto *device = GST_DEVICE_CAST(g_object_new(fakeDeviceType(),
        "display-name",
        recipe.name.c_str(),
        "device-class",
        recipe.deviceClass.c_str(),
        "caps",
        caps.get(),
        "properties",
        properties.get(),
        nullptr));
    g_object_set_data_full(G_OBJECT(device), opensKey, g_strdup(recipe.opens.c_str()), g_free);
    return DeviceRef::sink(device);
}

void setOpened(const DeviceRef &device, const std::string &opens)
{
    g_object_set_data_full(G_OBJECT(device.get()), opensKey, g_strdup(opens.c_str()), g_free);
}

HiddenElement::HiddenElement(const char *factory)
    : m_feature(gst_registry_lookup_feature(gst_registry_get(), factory))
{
    if (m_feature == nullptr) {
        throw std::runtime_error(std::string("no element ") + factory);
    }
    gst_registry_remove_feature(gst_registry_get(), m_feature);
}

HiddenElement::~HiddenElement()
{
    gst_registry_add_feature(gst_registry_get(), m_feature);
    gst_object_unref(m_feature);
}

} // namespace nimbara::testing

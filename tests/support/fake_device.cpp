#include "support/fake_device.h"

#include <stdexcept>

namespace nimbara::testing {

namespace {

struct FakeDevice {
    GstDevice parent;
    gchar *opens;
};

GstDeviceClass *parentClass = nullptr;

GstElement *openFakeDevice(GstDevice *device, const gchar *name)
{
    const gchar *opens = reinterpret_cast<FakeDevice *>(device)->opens;
    if (opens == nullptr || *opens == '\0') {
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

void finalizeFakeDevice(GObject *object)
{
    g_free(reinterpret_cast<FakeDevice *>(object)->opens);
    G_OBJECT_CLASS(parentClass)->finalize(object);
}

void initFakeDeviceClass(gpointer deviceClass, gpointer /*data*/)
{
    parentClass = static_cast<GstDeviceClass *>(g_type_class_peek_parent(deviceClass));
    static_cast<GstDeviceClass *>(deviceClass)->create_element = openFakeDevice;
    static_cast<GObjectClass *>(deviceClass)->finalize = finalizeFakeDevice;
}

GType fakeDeviceType()
{
    static const GType type = g_type_register_static_simple(GST_TYPE_DEVICE,
        "NimbaraFakeDevice",
        sizeof(GstDeviceClass),
        initFakeDeviceClass,
        sizeof(FakeDevice),
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
    reinterpret_cast<FakeDevice *>(device)->opens = g_strdup(recipe.opens.c_str());
    return DeviceRef::sink(device);
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

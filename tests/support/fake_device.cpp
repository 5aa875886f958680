#include "support/fake_device.h"

#include <atomic>
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

namespace {

/// A plug-in that is loaded later would bring its elements back.
GstPluginFeature *loadedFeature(const char *factory)
{
    GstPluginFeature *known = gst_registry_lookup_feature(gst_registry_get(), factory);
    GstPluginFeature *loaded = known == nullptr ? nullptr : gst_plugin_feature_load(known);
    gst_clear_object(&known);
    return loaded;
}

} // namespace

HiddenElement::HiddenElement(const char *factory)
    : m_feature(loadedFeature(factory))
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

namespace {

constexpr guint fileProperty = 1;
QString knownFile;
std::atomic<int> refusalsLeft;
std::atomic<int> timesAsked;

void openFile(GObject *source, guint /*number*/, const GValue *value, GParamSpec * /*declared*/)
{
    const bool isKnown = knownFile == QString::fromUtf8(g_value_get_string(value));
    timesAsked += isKnown ? 1 : 0;
    if (!isKnown || refusalsLeft-- > 0) {
        const auto gate = ElementRef::adopt(gst_bin_get_by_name(GST_BIN_CAST(source), "gate"));
        g_object_set(gate.get(), "error-after", 1, nullptr);
    }
}

void initFileSourceClass(gpointer sourceClass, gpointer /*data*/)
{
    auto *object = G_OBJECT_CLASS(sourceClass);
    object->set_property = openFile;
    g_object_class_install_property(object,
        fileProperty,
        g_param_spec_string("device", nullptr, nullptr, nullptr, G_PARAM_WRITABLE));
    gst_element_class_set_static_metadata(GST_ELEMENT_CLASS(sourceClass),
        "Camera",
        "Source/Video",
        "A camera of the tests",
        "The tests");
}

void initFileSource(GTypeInstance *source, gpointer /*class*/)
{
    GstElement *inner = gst_parse_bin_from_description(
        "videotestsrc is-live=true pattern=green ! identity name=gate",
        TRUE,
        nullptr);
    gst_bin_add(GST_BIN_CAST(source), inner);
    const auto pad = PadRef::adopt(gst_element_get_static_pad(inner, "src"));
    gst_element_add_pad(GST_ELEMENT_CAST(source), gst_ghost_pad_new("src", pad.get()));
}

GType fileSourceType()
{
    static const GType type = g_type_register_static_simple(GST_TYPE_BIN,
        "NimbaraFakeVideo4Linux",
        sizeof(GstBinClass),
        initFileSourceClass,
        sizeof(GstBin),
        initFileSource,
        GTypeFlags {});
    return type;
}

} // namespace

FakeVideo4Linux::FakeVideo4Linux(const QString &file, int refusals)
{
    knownFile = file;
    refusalsLeft = refusals;
    timesAsked = 0;
    static GstPluginFeature *standIn = nullptr; // its class knows it for ever
    if (standIn == nullptr) {
        gst_element_register(nullptr, "v4l2src", GST_RANK_NONE, fileSourceType());
        standIn = gst_registry_lookup_feature(gst_registry_get(), "v4l2src");
    } else {
        gst_registry_add_feature(gst_registry_get(), standIn);
    }
}

FakeVideo4Linux::~FakeVideo4Linux()
{
    knownFile.clear();
}

int FakeVideo4Linux::asked()
{
    return timesAsked;
}

} // namespace nimbara::testing

#include "media/gst/gst_build.h"

#include "signal/audio_block.h"

#include <algorithm>

namespace nimbara::gst_build {

ElementRef make(const char *factory, const char *name)
{
    return ElementRef::sink(gst_element_factory_make(factory, name));
}

void add(const Pipeline &pipeline, std::initializer_list<const ElementRef *> elements)
{
    for (const ElementRef *element : elements) {
        gst_bin_add(pipeline.bin(), element->get());
    }
}

bool link(std::initializer_list<const ElementRef *> elements)
{
    const ElementRef *previous = nullptr;
    for (const ElementRef *element : elements) {
        if (previous != nullptr && gst_element_link(previous->get(), element->get()) == FALSE) {
            return false;
        }
        previous = element;
    }
    return true;
}

bool complete(std::initializer_list<const ElementRef *> elements)
{
    return std::all_of(elements.begin(), elements.end(), [](const ElementRef *element) {
        return static_cast<bool>(*element);
    });
}

void setCaps(const ElementRef &element, const CapsRef &caps)
{
    g_object_set(element.get(), "caps", caps.get(), nullptr);
}

CapsRef audioBlockCaps()
{
    return CapsRef::adopt(gst_caps_new_simple("audio/x-raw",
        "format",
        G_TYPE_STRING,
        "F32LE",
        "layout",
        G_TYPE_STRING,
        "interleaved",
        "rate",
        G_TYPE_INT,
        audioRate,
        "channels",
        G_TYPE_INT,
        audioChannels,
        nullptr));
}

QString text(const GstCaps *caps)
{
    if (caps == nullptr) {
        return QStringLiteral("?");
    }
    return QString::fromUtf8(GCharPtr(gst_caps_to_string(caps)).get());
}

QString factoryName(GstElement *element)
{
    GstElementFactory *factory = gst_element_get_factory(element);
    if (factory == nullptr) {
        return QStringLiteral("?");
    }
    return QString::fromUtf8(GST_OBJECT_NAME(factory));
}

} // namespace nimbara::gst_build

#include "media/capture/picture_decoders.h"

#include "media/gst/gst_build.h"

#include <algorithm>
#include <array>

namespace nimbara {

namespace {

constexpr const char *jpegDecoder = "jpegdec";
constexpr const char *h264Parser = "h264parse";
/// Of the platforms, the cheapest for the processor first.
constexpr std::array h264Decoders { "vtdec", "d3d11h264dec", "avdec_h264", "openh264dec" };

bool isThere(const char *factory)
{
    return static_cast<bool>(GstRef<GstElementFactory>::adopt(gst_element_factory_find(factory)));
}

const char *h264Decoder()
{
    const auto *found = std::find_if(h264Decoders.begin(), h264Decoders.end(), isThere);
    return found == h264Decoders.end() ? nullptr : *found;
}

/// Between the device's thread and the decoder's.
ElementRef makeDroppingQueue()
{
    ElementRef queue = gst_build::make("queue");
    if (queue) {
        g_object_set(queue.get(),
            "max-size-buffers",
            2U,
            "max-size-bytes",
            0U,
            "max-size-time",
            guint64 { 0 },
            nullptr);
        gst_util_set_object_arg(G_OBJECT(queue.get()), "leaky", "downstream");
    }
    return queue;
}

ElementRef makeJpegDecoder()
{
    ElementRef decoder = gst_build::make(jpegDecoder);
    if (decoder) {
        g_object_set(decoder.get(), "max-errors", -1, nullptr); // a bad cable damages many in a row
    }
    return decoder;
}

} // namespace

bool canDecode(PictureCoding coding)
{
    switch (coding) {
    case PictureCoding::Raw:
        return true;
    case PictureCoding::Jpeg:
        return isThere(jpegDecoder);
    case PictureCoding::H264:
        return isThere(h264Parser) && h264Decoder() != nullptr;
    }
    return false;
}

std::vector<ElementRef> makeDecoders(PictureCoding coding)
{
    switch (coding) {
    case PictureCoding::Raw:
        return {};
    case PictureCoding::Jpeg:
        return { makeDroppingQueue(), makeJpegDecoder() };
    case PictureCoding::H264:
        return { gst_build::make(h264Parser), gst_build::make(h264Decoder()) };
    }
    return {};
}

} // namespace nimbara

#include "media/sources/source_pipeline.h"

#include "base/error.h"
#include "media/capture/device_pin.h"
#include "media/capture/devices.h"
#include "media/capture/media_service.h"
#include "media/capture/picture_decoders.h"
#include "media/gst/gst_build.h"
#include "media/sources/frame_maker.h"

namespace nimbara {

namespace {

using namespace gst_build;

/// The parts of the picture branch that only the construction needs.
struct PictureChain {
    ElementRef requestFilter = make("capsfilter");
    ElementRef squarePixels = make("capssetter");
    ElementRef frames; ///< makes whole frames of pictures that need no scaling
    ElementRef reduce; ///< makes pictures that are larger than they are shown smaller
    ElementRef reduced; ///< says how small
    ElementRef convert = make("videoconvert");
    ElementRef upright; ///< turns pictures by the orientation they carry; media only
    ElementRef scale = make("videoscale");
    ElementRef outputFilter = make("capsfilter");
};

ElementRef makeDeviceSource(GstDevice *device, DeviceRoad road)
{
    if (road == DeviceRoad::System) {
        auto element = ElementRef::sink(gst_device_create_element(device, "source"));
        pinToDevice(element.get());
        reconnectToService(element.get(), device);
        return element;
    }
    auto element = make("v4l2src", "source");
    if (element) {
        g_object_set(element.get(),
            "device",
            directFile(device).toLocal8Bit().constData(),
            nullptr);
    }
    return element;
}

ElementRef makeSource(const SourceRequest &request, const ScreenElements &screens)
{
    if (request.screen) {
        auto element
            = request.stream ? makeStreamSource(*request.stream) : makeScreenSource(screens);
        if (!element) {
            throw Error(QStringLiteral("Captura de pantalla no disponible en este sistema"));
        }
        return element;
    }
    if (request.device != nullptr) {
        return makeDeviceSource(request.device, request.road);
    }
    return make(request.isTestBars() ? "videotestsrc" : "uridecodebin", "source");
}

QString deviceDetails(GstDevice *device, GstElement *element)
{
    const GCharPtr name(gst_device_get_display_name(device));
    gint index = -1;
    const GParamSpec *property
        = g_object_class_find_property(G_OBJECT_GET_CLASS(element), "device-index");
    if (property != nullptr && G_PARAM_SPEC_VALUE_TYPE(property) == G_TYPE_INT) {
        g_object_get(element, "device-index", &index, nullptr);
    }
    return QStringLiteral(" nombre=%1 device-index=%2")
        .arg(name ? QString::fromUtf8(name.get()) : QStringLiteral("?"))
        .arg(index);
}

QString startLabel(const SourceRequest &request, GstElement *element)
{
    const QString label = QStringLiteral("fuente=") + factoryName(element);
    if (request.screen) {
        return label + QStringLiteral(" (pantalla)");
    }
    if (request.device != nullptr) {
        return label + QStringLiteral(" (dispositivo)") + deviceDetails(request.device, element);
    }
    return label + (request.uri.isEmpty() ? QStringLiteral(" (prueba)") : QStringLiteral(" (uri)"));
}

/// What need not be scaled costs a fraction when it is converted by loops of our own; a 4K picture
/// a third when it is made smaller before its colours are converted.
void prepareConversion(SourcePipeline &built, PictureChain &chain)
{
    chain.frames = makeFrameMaker(built.picture);
    chain.reduce = make("videoscale");
    chain.reduced = make("capsfilter");
    if (!complete({ &chain.frames, &chain.reduce, &chain.reduced })) {
        throw Error(QStringLiteral("Falta componente de fuente multimedia"));
    }
    add(built.pipeline, { &chain.frames, &chain.reduce, &chain.reduced });
    reduceToShown(chain.reduce, chain.reduced, built.picture);
    built.pictureHead = chain.frames;
}

void makePictureChain(SourcePipeline &built, PictureChain &chain, const SourceRequest &request)
{
    built.videoSink = make("appsink");
    built.pictureHead = chain.convert;
    if (!complete({ &built.source,
            &chain.requestFilter,
            &chain.squarePixels,
            &chain.convert,
            &chain.scale,
            &chain.outputFilter,
            &built.videoSink })) {
        throw Error(QStringLiteral("Falta componente de fuente multimedia"));
    }
    add(built.pipeline,
        { &built.source,
            &chain.requestFilter,
            &chain.squarePixels,
            &chain.convert,
            &chain.scale,
            &chain.outputFilter,
            &built.videoSink });
    if (!request.uri.isEmpty()) {
        chain.upright = make("videoflip");
    }
    if (chain.upright) {
        // Passes pictures through untouched until one carries a turn (portrait phone videos).
        gst_util_set_object_arg(G_OBJECT(chain.upright.get()), "video-direction", "auto");
        add(built.pipeline, { &chain.upright });
    }
    if (!request.isTestBars()) {
        prepareConversion(built, chain);
    }
}

/// Test bars have no shape but the profile's; every other picture keeps its own.
void configurePictureChain(const SourcePipeline &built,
    const PictureChain &chain,
    const SourceRequest &request)
{
    const auto caps = CapsRef::adopt(gst_caps_new_simple("video/x-raw",
        "format",
        G_TYPE_STRING,
        "RGBA",
        "pixel-aspect-ratio",
        GST_TYPE_FRACTION,
        1,
        1,
        nullptr));
    if (request.isTestBars()) {
        gst_caps_set_simple(caps.get(),
            "width",
            G_TYPE_INT,
            request.size.width,
            "height",
            G_TYPE_INT,
            request.size.height,
            nullptr);
        setCaps(chain.outputFilter, caps);
        built.picture->setSize(request.size);
    } else {
        scaleToShown(chain.scale, chain.outputFilter, caps, built.picture);
    }
    g_object_set(built.videoSink.get(),
        "max-buffers",
        2U,
        "drop",
        TRUE,
        "sync",
        TRUE,
        "async",
        FALSE,
        nullptr);
}

void buildSoundBranch(SourcePipeline &built)
{
    built.audioConvert = make("audioconvert");
    built.audioSink = make("appsink");
    const ElementRef resample = make("audioresample");
    const ElementRef filter = make("capsfilter");
    if (!complete({ &built.audioConvert, &resample, &filter, &built.audioSink })) {
        throw Error(QStringLiteral("Faltan componentes para audio multimedia"));
    }
    add(built.pipeline, { &built.audioConvert, &resample, &filter, &built.audioSink });
    setCaps(filter, audioBlockCaps());
    g_object_set(built.audioSink.get(),
        "max-buffers",
        8U,
        "drop",
        TRUE,
        "sync",
        TRUE,
        "async",
        FALSE,
        nullptr);
    if (!link({ &built.audioConvert, &resample, &filter, &built.audioSink })) {
        throw Error(QStringLiteral("Fallo conversion audio multimedia"));
    }
}

void linkPictureChain(const SourcePipeline &built, const PictureChain &chain)
{
    const bool reduced
        = !chain.reduce || link({ &chain.frames, &chain.reduce, &chain.reduced, &chain.convert });
    const bool converted = chain.upright ? link({ &chain.convert, &chain.upright, &chain.scale })
                                         : link({ &chain.convert, &chain.scale });
    if (!reduced || !converted || !link({ &chain.scale, &chain.outputFilter, &built.videoSink })) {
        throw Error(QStringLiteral("Fuente: no se pudo enlazar conversion"));
    }
}

/// Counts what the source delivers, on its thread, before any of it is dropped.
void countArrivals(SourcePipeline &built)
{
    const auto pad = PadRef::adopt(gst_element_get_static_pad(built.source.get(), "src"));
    if (!pad) {
        return;
    }
    using Count = std::shared_ptr<std::atomic<std::uint64_t>>;
    gst_pad_add_probe(
        pad.get(),
        GST_PAD_PROBE_TYPE_BUFFER,
        [](GstPad *, GstPadProbeInfo *, gpointer count) {
            ++**static_cast<Count *>(count);
            return GST_PAD_PROBE_OK;
        },
        new Count(built.arrived),
        [](gpointer count) { delete static_cast<Count *>(count); });
}

/// From the request filter to the head of the picture branch, through the decoder of the mode.
bool linkRequested(SourcePipeline &built, const PictureChain &chain, PictureCoding coding)
{
    ElementRef last = chain.requestFilter;
    for (const ElementRef &decoder : makeDecoders(coding)) {
        if (!decoder) {
            throw Error(QStringLiteral("Falta componente de fuente multimedia"));
        }
        add(built.pipeline, { &decoder });
        if (!link({ &last, &decoder })) {
            return false;
        }
        last = decoder;
    }
    return link({ &last, &chain.squarePixels, &built.pictureHead });
}

/// Live sources: asks for a mode and declares whatever arrives square-pixel.
void linkCapture(SourcePipeline &built, const PictureChain &chain, const SourceRequest &request)
{
    if (request.isTestBars()) {
        g_object_set(built.source.get(), "is-live", TRUE, nullptr);
    }
    const CapsRef mode = modeCaps(request.mode);
    setCaps(chain.requestFilter, mode);
    setCaps(chain.squarePixels,
        CapsRef::adopt(gst_caps_new_simple("video/x-raw",
            "pixel-aspect-ratio",
            GST_TYPE_FRACTION,
            1,
            1,
            nullptr)));
    g_object_set(chain.squarePixels.get(), "replace", FALSE, "join", TRUE, nullptr);
    built.label += QStringLiteral(" pedido=") + text(mode.get());
    countArrivals(built);
    const PictureCoding coding = request.mode ? request.mode->coding : PictureCoding::Raw;
    if (!link({ &built.source, &chain.requestFilter }) || !linkRequested(built, chain, coding)) {
        throw Error(QStringLiteral("Fuente no ofrece video raw compatible"));
    }
}

} // namespace

SourcePipeline buildSourcePipeline(const SourceRequest &request, const ScreenElements &screens)
{
    SourcePipeline built;
    built.pipeline = Pipeline("nimbara-source");
    built.picture = std::make_shared<NaturalPicture>(request.size);
    built.arrived = std::make_shared<std::atomic<std::uint64_t>>(0);
    built.source = makeSource(request, screens);
    PictureChain chain;
    makePictureChain(built, chain, request);
    built.label = startLabel(request, built.source.get());
    configurePictureChain(built, chain, request);
    buildSoundBranch(built);
    linkPictureChain(built, chain);
    if (request.uri.isEmpty()) {
        linkCapture(built, chain, request);
    } else {
        if (!request.uri.startsWith(QLatin1String("file:"))) {
            prepareNetworkSource(built.source, request.network);
        }
        g_object_set(built.source.get(), "uri", request.uri.toUtf8().constData(), nullptr);
    }
    return built;
}

} // namespace nimbara

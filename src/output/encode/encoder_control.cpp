#include "output/encode/encoder_control.h"

#include "output/encode/pipeline_parts.h"

#include <utility>

namespace nimbara {

/// On the encoder's thread.
struct EncoderControl::Switch {
    std::shared_ptr<Wanted> wanted;
    ElementRef encoder;
    EncoderChoice choice;
    bool isCheaper = false;
    std::int32_t bitrate = 0;

    void turn()
    {
        auto *object = G_OBJECT(encoder.get());
        const bool cheaper = wanted->isCheaper;
        if (choice.setCheaper != nullptr && std::exchange(isCheaper, cheaper) != cheaper) {
            choice.setCheaper(object, cheaper);
        }
        const std::int32_t rate = wanted->bitrate;
        if (choice.setBitrate != nullptr && std::exchange(bitrate, rate) != rate) {
            choice.setBitrate(object, rate);
        }
    }
};

EncoderControl::EncoderControl(GstElement *source,
    GstElement *encoder,
    const EncoderChoice &choice,
    std::int32_t bitrate)
    : m_wanted(std::make_shared<Wanted>())
{
    m_wanted->bitrate = bitrate;
    gst_pad_add_probe(
        padOf(source, "src").get(),
        GST_PAD_PROBE_TYPE_BUFFER,
        [](GstPad *, GstPadProbeInfo *, gpointer own) {
            static_cast<Switch *>(own)->turn();
            return GST_PAD_PROBE_OK;
        },
        new Switch { m_wanted, ElementRef::retain(encoder), choice, false, bitrate },
        [](gpointer own) { delete static_cast<Switch *>(own); });
}

void EncoderControl::setCheaper(bool cheaper) const
{
    if (m_wanted) {
        m_wanted->isCheaper = cheaper;
    }
}

void EncoderControl::setBitrate(std::int32_t bitrate) const
{
    if (m_wanted) {
        m_wanted->bitrate = bitrate;
    }
}

} // namespace nimbara

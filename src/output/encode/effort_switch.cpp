#include "output/encode/effort_switch.h"

#include "output/encode/pipeline_parts.h"

namespace nimbara {

namespace {

struct Switch {
    std::shared_ptr<std::atomic<bool>> wanted;
    ElementRef encoder;
    void (*setCheaper)(GObject *encoder, bool cheaper);
    bool isCheaper = false;
};

GstPadProbeReturn turn(GstPad * /*pad*/, GstPadProbeInfo * /*info*/, gpointer data)
{
    auto &own = *static_cast<Switch *>(data);
    if (const bool wanted = *own.wanted; wanted != own.isCheaper) {
        own.isCheaper = wanted;
        own.setCheaper(G_OBJECT(own.encoder.get()), wanted);
    }
    return GST_PAD_PROBE_OK;
}

} // namespace

EffortSwitch::EffortSwitch(GstElement *source, GstElement *encoder, const EncoderChoice &choice)
{
    if (choice.setCheaper == nullptr) {
        return;
    }
    m_wanted = std::make_shared<std::atomic<bool>>(false);
    gst_pad_add_probe(padOf(source, "src").get(),
        GST_PAD_PROBE_TYPE_BUFFER,
        turn,
        new Switch { m_wanted, ElementRef::retain(encoder), choice.setCheaper },
        [](gpointer data) { delete static_cast<Switch *>(data); });
}

void EffortSwitch::setCheaper(bool cheaper) const
{
    if (m_wanted) {
        *m_wanted = cheaper;
    }
}

} // namespace nimbara

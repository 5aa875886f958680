#include "output/sink/outlet_input.h"

#include <gst/app/gstappsrc.h>

#include <algorithm>
#include <utility>

namespace nimbara {

namespace {

/// Pictures come out of their encoder later than sound by as much as may wait in front of it.
constexpr std::uint64_t keptSoundNs = 4'000'000'000;

GstAppSrc *appSource(const ElementRef &source)
{
    return GST_APP_SRC_CAST(source.get());
}

/// What an outlet that begins with this key frame calls 0.
std::uint64_t baseAt(const EncodedUnit &key)
{
    return key.time - std::min(key.time, key.lead);
}

} // namespace

OutletInput::OutletInput(ElementRef video,
    ElementRef audio,
    std::uint64_t patienceNs,
    Headers headers)
    : m_video { std::move(video), {} }
    , m_audio { std::move(audio), {} }
    , m_patienceNs(patienceNs)
    , m_headers(headers)
{
}

OutletInput::~OutletInput()
{
    if (m_next) {
        m_next->beginAlone();
    }
}

void OutletInput::take(Track track, const EncodedUnit &unit)
{
    const std::lock_guard lock(m_mutex);
    if (m_end && unit.time >= *m_end + unit.lead) {
        finish(track == Track::Picture ? m_video : m_audio);
    } else if (track == Track::Picture) {
        takePicture(unit);
    } else {
        takeSound(unit);
    }
}

void OutletInput::takePicture(const EncodedUnit &unit)
{
    if (m_waitsForOther) {
        return;
    }
    if (m_next && unit.isKey && m_base && m_lastSound < baseAt(unit)) {
        handOver(unit);
        return;
    }
    if (!m_base) {
        if (!unit.isKey) {
            return;
        }
        m_base = baseAt(unit);
        for (const EncodedUnit &sound : std::exchange(m_early, {})) {
            takeSound(sound);
        }
    }
    m_behind = waitingNs() > m_patienceNs || (m_behind && !unit.isKey);
    if (m_behind) {
        ++m_given.dropped;
        return;
    }
    forward(m_video, unit);
    m_lastPicture = unit.time - *m_base;
    ++m_given.pictures;
}

/// The sound that was held belongs to the two by its time.
void OutletInput::handOver(const EncodedUnit &key)
{
    const std::uint64_t base = baseAt(key);
    const auto later = [base](const EncodedUnit &unit) { return unit.time >= base; };
    const auto first = std::find_if(m_held.begin(), m_held.end(), later);
    std::for_each(m_held.begin(), first, [this](const EncodedUnit &unit) {
        forward(m_audio, unit);
    });
    m_next->beginAt(base, { first, m_held.end() });
    m_next.reset();
    m_soundEnd = base;
    finish(m_video);
    if (first != m_held.end()) {
        finish(m_audio); // else some of it may still be encoded
    }
    m_held.clear();
}

void OutletInput::beginAt(std::uint64_t base, const std::deque<EncodedUnit> &sound)
{
    const std::lock_guard lock(m_mutex);
    m_waitsForOther = false;
    m_base = base;
    for (const EncodedUnit &unit : sound) {
        takeSound(unit);
    }
}

void OutletInput::forwardHeld()
{
    for (const EncodedUnit &unit : std::exchange(m_held, {})) {
        forward(m_audio, unit);
    }
}

void OutletInput::takeBack()
{
    const std::lock_guard lock(m_mutex);
    m_next.reset();
    forwardHeld();
}

void OutletInput::waitForOther()
{
    const std::lock_guard lock(m_mutex);
    m_waitsForOther = true;
}

void OutletInput::beginAlone()
{
    const std::lock_guard lock(m_mutex);
    m_waitsForOther = false;
}

void OutletInput::handOverTo(const std::shared_ptr<OutletInput> &next)
{
    const std::lock_guard lock(m_mutex);
    m_next = next;
}

void OutletInput::takeSound(const EncodedUnit &unit)
{
    if (m_waitsForOther) {
        return;
    }
    if (m_next) {
        m_held.push_back(unit);
        return;
    }
    if (m_soundEnd && unit.time >= *m_soundEnd) {
        finish(m_audio);
    }
    if (m_base) {
        if (unit.time >= *m_base) {
            forward(m_audio, unit);
            m_lastSound = unit.time;
        }
        return;
    }
    m_early.push_back(unit);
    while (m_early.front().time + keptSoundNs < unit.time) {
        m_early.pop_front();
    }
}

void OutletInput::forward(Input &input, const EncodedUnit &unit)
{
    if (input.hasEnded) {
        return;
    }
    if (input.caps.get() != unit.caps.get() && (!input.caps || m_headers == Headers::Follow)) {
        input.caps = unit.caps;
        gst_app_src_set_caps(appSource(input.source), unit.caps.get());
    }
    m_given.bytes += gst_buffer_get_size(unit.buffer.get());
    GstBuffer *buffer = gst_buffer_copy(unit.buffer.get());
    GST_BUFFER_PTS(buffer) = unit.time - *m_base;
    GST_BUFFER_DTS(buffer) = GST_CLOCK_TIME_NONE; // pictures come in the order of their display
    gst_app_src_push_buffer(appSource(input.source), buffer);
}

void OutletInput::end(Track track)
{
    const std::lock_guard lock(m_mutex);
    if (track == Track::Sound) {
        forwardHeld();
    }
    finish(track == Track::Picture ? m_video : m_audio);
}

void OutletInput::finishAt(std::uint64_t time)
{
    const std::lock_guard lock(m_mutex);
    m_end = time;
}

void OutletInput::finish()
{
    const std::lock_guard lock(m_mutex);
    forwardHeld();
    finish(m_video);
    finish(m_audio);
    if (const auto next = std::exchange(m_next, nullptr)) {
        next->beginAlone();
    }
}

void OutletInput::finish(Input &input)
{
    if (!std::exchange(input.hasEnded, true)) {
        gst_app_src_end_of_stream(appSource(input.source));
    }
}

void OutletInput::measureAt(GstElement *sink)
{
    const auto sent = std::make_shared<Sent>();
    m_sent = sent;
    using Shared = std::shared_ptr<Sent>;
    gst_pad_add_probe(
        PadRef::adopt(gst_element_get_static_pad(sink, "sink")).get(),
        GST_PAD_PROBE_TYPE_BUFFER,
        [](GstPad *, GstPadProbeInfo *info, gpointer data) {
            Sent &own = **static_cast<Shared *>(data);
            GstBuffer *buffer = GST_PAD_PROBE_INFO_BUFFER(info);
            own.bytes += gst_buffer_get_size(buffer);
            if (GST_BUFFER_PTS_IS_VALID(buffer)) {
                own.time = GST_BUFFER_PTS(buffer);
            }
            return GST_PAD_PROBE_OK;
        },
        new Shared(sent),
        [](gpointer data) { delete static_cast<Shared *>(data); });
}

std::uint64_t OutletInput::waitingNs() const
{
    if (m_sent) {
        // What is ahead of the other track waits for that one, not for the outlet.
        const std::uint64_t base = m_base.value_or(0);
        const std::uint64_t sound = std::max(m_lastSound.value_or(base), base) - base;
        const std::uint64_t last = std::min(m_lastPicture, sound);
        return last - std::min<std::uint64_t>(m_sent->time, last);
    }
    return gst_app_src_get_current_level_time(appSource(m_video.source));
}

OutletFigures OutletInput::figures() const
{
    const std::lock_guard lock(m_mutex);
    OutletFigures figures = m_given;
    figures.waitingNs = waitingNs();
    if (m_sent) {
        figures.bytes = m_sent->bytes;
        figures.takenNs = m_sent->time;
        return figures;
    }
    const std::uint64_t waiting = gst_app_src_get_current_level_bytes(appSource(m_video.source))
        + gst_app_src_get_current_level_bytes(appSource(m_audio.source));
    figures.bytes -= std::min(waiting, figures.bytes);
    figures.takenNs = m_lastPicture - std::min(figures.waitingNs, m_lastPicture);
    return figures;
}

std::optional<std::uint64_t> OutletInput::base() const
{
    const std::lock_guard lock(m_mutex);
    return m_base;
}

} // namespace nimbara

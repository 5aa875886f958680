#pragma once

#include <gst/gst.h>

#include <memory>
#include <utility>

/// Owning handles for GStreamer and GLib. How ownership arrives is named at the call:
/// `adopt` takes over a reference that the caller owns (transfer full), `sink` takes a floating
/// one, `retain` adds one to a borrowed object (transfer none).
namespace nimbara {

namespace detail {
template <typename T> struct RefTraits {
    static void ref(T *object) { gst_object_ref(object); }
    static void unref(T *object) { gst_object_unref(object); }
    static void sink(T *object) { gst_object_ref_sink(object); }
};
template <typename T> struct MiniTraits {
    static void ref(T *object) { gst_mini_object_ref(GST_MINI_OBJECT_CAST(object)); }
    static void unref(T *object) { gst_mini_object_unref(GST_MINI_OBJECT_CAST(object)); }
};
template <> struct RefTraits<GstCaps> : MiniTraits<GstCaps> {
};
template <> struct RefTraits<GstSample> : MiniTraits<GstSample> {
};
template <> struct RefTraits<GstBuffer> : MiniTraits<GstBuffer> {
};
template <> struct RefTraits<GstQuery> : MiniTraits<GstQuery> {
};
template <> struct RefTraits<GstMessage> : MiniTraits<GstMessage> {
};
} // namespace detail

/// One counted reference to a GstObject or GstMiniObject, or none.
template <typename T> class GstRef {
public:
    GstRef() = default;
    GstRef(const GstRef &other)
        : GstRef(retain(other.m_object))
    {
    }
    GstRef(GstRef &&other) noexcept
        : m_object(std::exchange(other.m_object, nullptr))
    {
    }
    GstRef &operator=(GstRef other) noexcept
    {
        std::swap(m_object, other.m_object);
        return *this;
    }
    ~GstRef() { reset(); }

    static GstRef adopt(T *owned) { return GstRef(owned); }
    static GstRef sink(T *floating)
    {
        if (floating != nullptr) {
            detail::RefTraits<T>::sink(floating);
        }
        return GstRef(floating);
    }
    static GstRef retain(T *borrowed)
    {
        if (borrowed != nullptr) {
            detail::RefTraits<T>::ref(borrowed);
        }
        return GstRef(borrowed);
    }

    [[nodiscard]] T *get() const { return m_object; }
    explicit operator bool() const { return m_object != nullptr; }

    /// Gives the reference away; the handle is empty afterwards.
    [[nodiscard]] T *release() { return std::exchange(m_object, nullptr); }

    void reset()
    {
        if (T *object = std::exchange(m_object, nullptr)) {
            detail::RefTraits<T>::unref(object);
        }
    }

private:
    explicit GstRef(T *object)
        : m_object(object)
    {
    }
    T *m_object = nullptr;
};

using ElementRef = GstRef<GstElement>;
using PadRef = GstRef<GstPad>;
using BusRef = GstRef<GstBus>;
using DeviceRef = GstRef<GstDevice>;
using CapsRef = GstRef<GstCaps>;
using SampleRef = GstRef<GstSample>;
using BufferRef = GstRef<GstBuffer>;
using QueryRef = GstRef<GstQuery>;
using MessageRef = GstRef<GstMessage>;

struct GFreeDeleter {
    void operator()(void *memory) const { g_free(memory); }
};
struct GErrorDeleter {
    void operator()(GError *error) const { g_error_free(error); }
};
struct GstStructureDeleter {
    void operator()(GstStructure *structure) const { gst_structure_free(structure); }
};
using GCharPtr = std::unique_ptr<gchar, GFreeDeleter>; ///< a string from GLib
using GErrorPtr = std::unique_ptr<GError, GErrorDeleter>;
using StructurePtr = std::unique_ptr<GstStructure, GstStructureDeleter>;

/// A pipeline and its bus. Going away sets the pipeline to NULL first, which may block: destroy it
/// where waiting is allowed.
class Pipeline {
public:
    Pipeline() = default;
    explicit Pipeline(const char *name)
        : m_pipeline(ElementRef::sink(gst_pipeline_new(name)))
        , m_bus(BusRef::adopt(gst_element_get_bus(m_pipeline.get())))
    {
    }
    Pipeline(const Pipeline &) = delete;
    Pipeline &operator=(const Pipeline &) = delete;
    Pipeline(Pipeline &&) noexcept = default;
    Pipeline &operator=(Pipeline &&other) noexcept
    {
        stop();
        m_pipeline = std::move(other.m_pipeline);
        m_bus = std::move(other.m_bus);
        return *this;
    }
    ~Pipeline() { stop(); }

    [[nodiscard]] GstElement *element() const { return m_pipeline.get(); }
    [[nodiscard]] GstBin *bin() const { return GST_BIN_CAST(m_pipeline.get()); }
    [[nodiscard]] GstBus *bus() const { return m_bus.get(); }
    explicit operator bool() const { return static_cast<bool>(m_pipeline); }

    /// Asks for PLAYING; false when the pipeline refuses at once.
    [[nodiscard]] bool play() const
    {
        return gst_element_set_state(m_pipeline.get(), GST_STATE_PLAYING)
            != GST_STATE_CHANGE_FAILURE;
    }

    /// Sets the pipeline to NULL and lets go of it and its bus. Does nothing when empty.
    void stop()
    {
        if (m_pipeline) {
            gst_element_set_state(m_pipeline.get(), GST_STATE_NULL);
            m_pipeline.reset();
            m_bus.reset();
        }
    }

private:
    ElementRef m_pipeline;
    BusRef m_bus;
};

} // namespace nimbara

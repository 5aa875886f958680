#pragma once

#include "media/gst/gst_handles.h"
#include "media/sources/shown_size.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

namespace nimbara {

/// The shape of a source's pictures and where they are shown. The source's owner says where; its
/// streaming threads read that and scale. Any thread.
class NaturalPicture {
public:
    /// `frame`: the picture stands whole in such a frame until it is known where it is shown.
    explicit NaturalPicture(FrameSize frame);

    /// Where the picture is shown from its next one on; must not be empty.
    void showIn(std::vector<PictureBox> boxes);
    /// The size at which a picture of that shape is shown largest.
    [[nodiscard]] FrameSize shownSize(FrameSize natural) const;
    /// Counts the changes of where it is shown.
    [[nodiscard]] unsigned changes() const { return m_changes; }

    /// The picture's own size in square pixels, turned upright; 0 × 0 before the first.
    [[nodiscard]] FrameSize size() const;
    void setSize(FrameSize natural);
    /// The own size before anything made the picture smaller, not yet turned.
    void setStored(FrameSize natural);
    /// The own size of a picture that has come to `reduced` since, and may have been turned.
    [[nodiscard]] FrameSize upright(FrameSize reduced) const;

private:
    mutable std::mutex m_mutex;
    std::vector<PictureBox> m_boxes;
    FrameSize m_size;
    FrameSize m_stored;
    std::atomic<unsigned> m_changes { 0 };
};

/// Makes `scaler` (a videoscale) and `filter` (a capsfilter behind it, whose caps are `caps` and
/// the size) bring pictures to the size at which they are shown, in square pixels. The size follows
/// the pictures' own and the boxes, on the streaming thread: caps of a filter that change under a
/// running stream can meet a picture of the caps before, and that ends it. Call before data flows.
void scaleToShown(const ElementRef &scaler,
    const ElementRef &filter,
    const CapsRef &caps,
    const std::shared_ptr<NaturalPicture> &picture);

/// Makes `scaler` and `filter` bring pictures that are larger than they are shown down to that
/// size, roughly, in their own shape and pixels; smaller ones pass untouched. They may yet be
/// turned.
void reduceToShown(const ElementRef &scaler,
    const ElementRef &filter,
    const std::shared_ptr<NaturalPicture> &picture);

} // namespace nimbara

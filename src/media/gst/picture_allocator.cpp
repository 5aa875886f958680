#include "media/gst/picture_allocator.h"

#include "base/picture_block.h"
#include "base/picture_memory.h"

#include <gst/gst.h>

#include <cstring>
#include <memory>
#include <new>

namespace nimbara {

namespace {

constexpr gsize widestAlign = 4095; ///< a mask: blocks begin with a page

struct Block {
    void *memory = nullptr;
    gsize bytes = 0;
};

void giveBack(gpointer data)
{
    const std::unique_ptr<Block> block(static_cast<Block *>(data));
    givePictureBlock(block->memory, block->bytes);
}

bool has(GstMemoryFlags flags, GstMemoryFlags one)
{
    return (static_cast<unsigned>(flags) & static_cast<unsigned>(one)) != 0;
}

/// As the allocator of the heap does it; null where the system has no memory left.
GstMemory *wrapBlock(gsize size, const GstAllocationParams &wish)
{
    const gsize whole = size + wish.prefix + wish.padding;
    void *memory = nullptr;
    try {
        memory = takePictureBlock(whole);
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
    auto *bytes = static_cast<char *>(memory);
    if (has(wish.flags, GST_MEMORY_FLAG_ZERO_PREFIXED)) {
        std::memset(bytes, 0, wish.prefix);
    }
    if (has(wish.flags, GST_MEMORY_FLAG_ZERO_PADDED)) {
        std::memset(bytes + wish.prefix + size, 0, wish.padding);
    }
    auto block = std::make_unique<Block>(Block { memory, whole });
    return gst_memory_new_wrapped(wish.flags,
        memory,
        whole,
        wish.prefix,
        size,
        block.release(),
        giveBack);
}

GstMemory *allocate(GstAllocator * /*self*/, gsize size, GstAllocationParams *wish)
{
    if (size >= PictureMemory::smallest && wish->align <= widestAlign) {
        return wrapBlock(size, *wish);
    }
    GstAllocator *heap = gst_allocator_find(GST_ALLOCATOR_SYSMEM);
    GstMemory *memory = gst_allocator_alloc(heap, size, wish);
    gst_object_unref(heap);
    return memory;
}

void setUpClass(gpointer type, gpointer /*data*/)
{
    static_cast<GstAllocatorClass *>(type)->alloc = allocate;
    // What it gives is the heap's kind of memory, which frees itself.
    static_cast<GstAllocatorClass *>(type)->free = nullptr;
}

void setUp(GTypeInstance *instance, gpointer /*type*/)
{
    GST_ALLOCATOR_CAST(instance)->mem_type = GST_ALLOCATOR_SYSMEM;
}

GType allocatorType()
{
    static const GType type = g_type_register_static_simple(GST_TYPE_ALLOCATOR,
        "NimbaraPictureAllocator",
        sizeof(GstAllocatorClass),
        setUpClass,
        sizeof(GstAllocator),
        setUp,
        GTypeFlags {});
    return type;
}

} // namespace

void useMemoryForPictures()
{
    if (pictureMemory() != nullptr) {
        auto *allocator = static_cast<GstAllocator *>(g_object_new(allocatorType(), nullptr));
        gst_object_ref_sink(allocator);
        gst_allocator_set_default(allocator); // takes it over
    }
}

} // namespace nimbara

#pragma once

#include "media/gst/gst_handles.h"

#include <QString>

#include <initializer_list>

/// Small steps of building a pipeline, shared by the rooms that build one. Any thread.
namespace nimbara::gst_build {

/// A new element of the factory, or none when this installation does not have it. Without a name
/// GStreamer gives one.
ElementRef make(const char *factory, const char *name = nullptr);

/// Adds the elements to the pipeline, which takes references of its own.
void add(const Pipeline &pipeline, std::initializer_list<const ElementRef *> elements);

/// Links the elements in their order; false as soon as two do not fit.
bool link(std::initializer_list<const ElementRef *> elements);

/// Every one of the elements exists.
bool complete(std::initializer_list<const ElementRef *> elements);

/// Sets the "caps" property.
void setCaps(const ElementRef &element, const CapsRef &caps);

/// The format of `AudioBlock` as caps.
CapsRef audioBlockCaps();

/// Caps as text; "?" for none.
QString text(const GstCaps *caps);

/// The name of the factory that made the element; "?" when unknown.
QString factoryName(GstElement *element);

} // namespace nimbara::gst_build

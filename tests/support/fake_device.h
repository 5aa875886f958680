#pragma once

#include "media/gst/gst_handles.h"

#include <QString>

#include <string>

namespace nimbara::testing {

/// A capture device that exists in this program only.
struct FakeDeviceRecipe {
    std::string name = "Camera";
    std::string deviceClass = "Video/Source";
    std::string caps = "video/x-raw"; ///< what it offers
    std::string properties {}; ///< a structure as text: "properties,node.name=cam"; may be empty
    /// What it opens: a pipeline description with a free source pad. Empty: nothing can be opened.
    std::string opens = "videotestsrc is-live=true";
};

DeviceRef fakeDevice(const FakeDeviceRecipe &recipe);

/// From now on it opens that.
void setOpened(const DeviceRef &device, const std::string &opens);

/// Hides an element from this program while it lives, as if its plug-in were not installed.
class HiddenElement {
public:
    explicit HiddenElement(const char *factory);
    HiddenElement(const HiddenElement &) = delete;
    HiddenElement &operator=(const HiddenElement &) = delete;
    HiddenElement(HiddenElement &&) = delete;
    HiddenElement &operator=(HiddenElement &&) = delete;
    ~HiddenElement();

private:
    GstPluginFeature *m_feature;
};

/// Video4Linux with one camera, at `file`, while it lives: the element that reads such files shows
/// a green picture of it, and breaks off for any other file. One at a time.
class FakeVideo4Linux {
public:
    /// `refusals`: so many times the camera is refused first, as when it is still in other hands.
    explicit FakeVideo4Linux(const QString &file, int refusals = 0);
    Q_DISABLE_COPY_MOVE(FakeVideo4Linux)
    ~FakeVideo4Linux();

    /// How often the camera was asked for.
    [[nodiscard]] static int asked();

private:
    HiddenElement m_real { "v4l2src" };
};

} // namespace nimbara::testing

#pragma once

#include "document/project_file.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <vector>

namespace nimbara {

/// Decodes the picture of a path; throws `Error` when it cannot.
using ImageLoader = std::function<FramePtr(const QString &path)>;

/// Who opens what the layers of a project show, at the project's stream profile. All may throw
/// `Error`; none is empty.
struct LayerFactories {
    ImageLoader loadImage;
    std::function<MediaPtr(const QString &location)> media; ///< checks the location first
    std::function<MediaPtr()> screen;
};

/// Decodes every picture that the project's image layers name, each file once, and gives a loader
/// that hands them out without touching the disk; a failure is thrown again for each layer that
/// asks. May run on a background task when `load` may, ahead of `attachResources`.
ImageLoader decodeImages(const Project &project, const ImageLoader &load);

/// Gives the layers of both sets their images and sources, one by one: image and video layers with
/// a path or location, and screen layers. Layers of one path share the picture. A layer that fails
/// stays without, and adds a warning for the operator. Streams come first, back to front. Belongs
/// on the thread that the factories belong on.
class ResourceAttachment {
public:
    ResourceAttachment(Project project, LayerFactories factories);

    /// Goes on to the next layer that shows something; false when there was none left.
    bool step();

    /// The layers' own refusals, translated: the layer's name, ": " and the reason.
    void warn(const Layer &layer, const QString &reason);
    [[nodiscard]] const QStringList &warnings() const { return m_warnings; }
    [[nodiscard]] Project &project() { return m_project; }

private:
    Project m_project;
    LayerFactories m_factories;
    std::vector<Layer *> m_waiting; ///< of the project, the next one last
    QStringList m_warnings;
};

/// `ResourceAttachment` in one go. Gives its warnings.
QStringList attachResources(Project &project, const LayerFactories &factories);

} // namespace nimbara

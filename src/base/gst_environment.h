#pragma once

#include <QString>

namespace nimbara {

/// Points GStreamer at the plug-ins that ship with the program, if they do.
///
/// The root is `executableFolder` + "/../Resources/gstreamer". When its "/lib/gstreamer-1.0"
/// exists, GST_PLUGIN_SYSTEM_PATH_1_0, GST_PLUGIN_PATH_1_0 (empty), GIO_MODULE_DIR and
/// GST_PLUGIN_SCANNER are set in the process environment, over any inherited value; otherwise
/// nothing is touched. Call before `gst_init`.
void pointGstreamerAtBundle(const QString &executableFolder);

} // namespace nimbara

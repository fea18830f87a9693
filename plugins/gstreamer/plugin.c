#include "element.h"

static gboolean plugin_init(GstPlugin* plugin) {
  return GST_ELEMENT_REGISTER(tlux, plugin);
}

GST_PLUGIN_DEFINE(GST_VERSION_MAJOR, GST_VERSION_MINOR, tlux,
                  "Dynamic range optimization of NV12 and NV21 video", plugin_init, VERSION,
                  "Proprietary", PACKAGE, "tlux")

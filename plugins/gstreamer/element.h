/**
 * @file element.h
 * @brief The element `tlux`: dynamic range optimization of NV12 and NV21 video in place.
 */
#ifndef TLUX_GSTREAMER_ELEMENT_H
#define TLUX_GSTREAMER_ELEMENT_H

#include <gst/video/gstvideofilter.h>

G_BEGIN_DECLS

#define GST_TYPE_TLUX (gst_tlux_get_type())
G_DECLARE_FINAL_TYPE(GstTlux, gst_tlux, GST, TLUX, GstVideoFilter)

GST_ELEMENT_REGISTER_DECLARE(tlux)

G_END_DECLS

#endif

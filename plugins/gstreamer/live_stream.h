/**
 * @file live_stream.h
 * @brief A stream of the library that follows live settings and takes GStreamer's frames.
 */
#ifndef TLUX_GSTREAMER_LIVE_STREAM_H
#define TLUX_GSTREAMER_LIVE_STREAM_H

#include <gst/video/video.h>
#include <tlux/stream.h>

G_BEGIN_DECLS

/** The properties of the element; TLUX_STREAM_OPTIONS says what they mean. */
typedef struct {
  guint strength;
  guint colour;
  guint steady;
  gboolean exact; /**< The tones of the run; `colour` and `steady` are then not used. */
  guint threads;
} TluxSettings;

/** All zeros is a stream that has yet to be opened. Used by one thread at a time. */
typedef struct {
  TLUX_STREAM* stream;
  TLUX_STREAM_OPTIONS options; /**< Those that the stream works with. */
  guint8* even_memory;         /**< A frame of even sides, for frames whose sides are odd. */
  TLUX_IMAGE even;
} TluxLiveStream;

/**
 * Treats a frame in place, NV12 or NV21 of any size, at the strides and offsets it has. Settings
 * that differ from those of the frame before count from this one on; another number of threads
 * opens the stream anew, the others keep what it knows of earlier frames.
 * @param frame mapped for reading and writing; its colorimetry tells the range.
 * @return a result code of the library; unless it is ::TLUX_OK the frame is as it was.
 */
uint32_t tlux_live_stream_run(TluxLiveStream* live, const TluxSettings* settings,
                              GstVideoFrame* frame);

/** The next frame does not follow the ones before. */
void tlux_live_stream_reset(TluxLiveStream* live);

/** Gives everything back; the record is then as new. */
void tlux_live_stream_close(TluxLiveStream* live);

G_END_DECLS

#endif

/**
 * @file live_stream.h
 * @brief A stream of the library that follows live settings and accepts GStreamer's frames.
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
  gboolean exact; /**< The tones of the run; ignores `colour` and `steady`. */
  guint threads;
} TluxSettings;

/** All zeros is a stream that is not open yet. Used by one thread at a time. */
typedef struct {
  TLUX_STREAM* stream;
  TLUX_STREAM_OPTIONS options; /**< Those in use. */
  guint8* even_memory;         /**< A frame of even sides, for frames whose sides are odd. */
  TLUX_IMAGE even;
} TluxLiveStream;

/**
 * Processes a frame in place, NV12 or NV21 of any size, at any strides and offsets. Changed
 * settings take effect with this frame; another number of threads reopens the stream, the others
 * keep what it knows of earlier frames.
 * @param frame mapped for reading and writing; its colorimetry gives the range.
 * @return a result code of the library; unless it is ::TLUX_OK, the frame is unchanged.
 */
uint32_t tlux_live_stream_run(TluxLiveStream* live, const TluxSettings* settings,
                              GstVideoFrame* frame);

/** The next frame does not follow the ones before. */
void tlux_live_stream_reset(TluxLiveStream* live);

/** Releases everything; the record is then as new. */
void tlux_live_stream_close(TluxLiveStream* live);

G_END_DECLS

#endif

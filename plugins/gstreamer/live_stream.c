#include "live_stream.h"

#include <string.h>

static uint32_t range_of(const GstVideoInfo* info) {
  return GST_VIDEO_INFO_COLORIMETRY(info).range == GST_VIDEO_COLOR_RANGE_0_255 ? TLUX_RANGE_FULL
                                                                               : TLUX_RANGE_LIMITED;
}

static TLUX_STREAM_OPTIONS options_of(const TluxSettings* settings, const GstVideoInfo* info) {
  TLUX_STREAM_OPTIONS options;
  memset(&options, 0, sizeof options); // they are compared byte by byte
  TLUX_InitStreamOptions(&options, sizeof options,
                         settings->exact ? TLUX_TONES_EXACT : TLUX_TONES_NATURAL);
  options.range = range_of(info);
  options.threads = settings->threads;
  if (!settings->exact) {
    options.colour = settings->colour;
    options.steady = settings->steady;
  }
  return options;
}

/** Applies the options to the stream. */
static uint32_t apply(TluxLiveStream* live, const TLUX_STREAM_OPTIONS* options) {
  if (live->stream != NULL && live->options.threads != options->threads) {
    TLUX_CloseStream(&live->stream);
  }
  uint32_t result = TLUX_OK;
  if (live->stream == NULL) {
    result = TLUX_OpenStream(NULL, options, &live->stream);
  } else if (memcmp(&live->options, options, sizeof *options) != 0) {
    result = TLUX_ChangeStream(live->stream, options);
  }
  if (result == TLUX_OK) live->options = *options;
  return result;
}

static TLUX_IMAGE image_of(const GstVideoFrame* frame) {
  return (TLUX_IMAGE){
      .format = GST_VIDEO_FRAME_FORMAT(frame) == GST_VIDEO_FORMAT_NV12 ? TLUX_FMT_YCBCR420_YPUV
                                                                       : TLUX_FMT_YCBCR420_YPVU,
      .width = GST_VIDEO_FRAME_WIDTH(frame),
      .height = GST_VIDEO_FRAME_HEIGHT(frame),
      .plane = {GST_VIDEO_FRAME_PLANE_DATA(frame, 0), GST_VIDEO_FRAME_PLANE_DATA(frame, 1)},
      .pitch = {GST_VIDEO_FRAME_PLANE_STRIDE(frame, 0), GST_VIDEO_FRAME_PLANE_STRIDE(frame, 1)},
  };
}

/** Gives `even` the size and format, if it does not have them yet. */
static gboolean reserve_even(TluxLiveStream* live, gint width, gint height, uint32_t format) {
  TLUX_IMAGE* even = &live->even;
  even->format = format;
  if (live->even_memory != NULL && even->width == width && even->height == height) return TRUE;
  const gsize luma = (gsize)width * (gsize)height;
  g_free(live->even_memory);
  live->even_memory = g_try_malloc(luma + luma / 2);
  if (live->even_memory == NULL) return FALSE;
  even->width = width;
  even->height = height;
  even->plane[0] = live->even_memory;
  even->plane[1] = live->even_memory + luma;
  even->pitch[0] = width;
  even->pitch[1] = width;
  return TRUE;
}

static void copy_rows(const TLUX_IMAGE* from, const TLUX_IMAGE* to, guint plane, gint bytes,
                      gint rows) {
  for (gint row = 0; row < rows; ++row) {
    memcpy(to->plane[plane] + (gssize)row * to->pitch[plane],
           from->plane[plane] + (gssize)row * from->pitch[plane], (gsize)bytes);
  }
}

/** Copies a frame of odd sides and the chroma it shares with the even one around it. */
static void copy_frame(const TLUX_IMAGE* from, const TLUX_IMAGE* to, gint width, gint height) {
  copy_rows(from, to, 0, width, height);
  copy_rows(from, to, 1, GST_ROUND_UP_2(width), GST_ROUND_UP_2(height) / 2);
}

/** Repeats the last column and row of the odd frame inside the even one. */
static void repeat_edges(const TLUX_IMAGE* even, gint width, gint height) {
  guint8* luma = even->plane[0];
  const gsize pitch = (gsize)even->pitch[0];
  if (width < even->width) {
    for (gsize row = 0; row < (gsize)height; ++row) {
      luma[row * pitch + (gsize)width] = luma[row * pitch + (gsize)width - 1];
    }
  }
  if (height < even->height) {
    memcpy(luma + (gsize)height * pitch, luma + (gsize)(height - 1) * pitch, pitch);
  }
}

static uint32_t run_odd(TluxLiveStream* live, const TLUX_IMAGE* image, guint strength) {
  const gint width = image->width;
  const gint height = image->height;
  if (!reserve_even(live, GST_ROUND_UP_2(width), GST_ROUND_UP_2(height), image->format)) {
    return TLUX_ERR_NO_MEMORY;
  }
  copy_frame(image, &live->even, width, height);
  repeat_edges(&live->even, width, height);
  const uint32_t result = TLUX_RunStream(live->stream, &live->even, &live->even, strength);
  if (result == TLUX_OK) copy_frame(&live->even, image, width, height);
  return result;
}

uint32_t tlux_live_stream_run(TluxLiveStream* live, const TluxSettings* settings,
                              GstVideoFrame* frame) {
  const TLUX_STREAM_OPTIONS options = options_of(settings, &frame->info);
  const uint32_t result = apply(live, &options);
  if (result != TLUX_OK) return result;
  const TLUX_IMAGE image = image_of(frame);
  if (image.width % 2 != 0 || image.height % 2 != 0) {
    return run_odd(live, &image, settings->strength);
  }
  return TLUX_RunStream(live->stream, &image, &image, settings->strength);
}

void tlux_live_stream_reset(TluxLiveStream* live) {
  TLUX_ResetStream(live->stream);
}

void tlux_live_stream_close(TluxLiveStream* live) {
  TLUX_CloseStream(&live->stream);
  g_free(live->even_memory);
  memset(live, 0, sizeof *live);
}

/**
 * @file tlux.c
 * @brief The frei0r filter `tlux`: dynamic range optimization of RGBA video.
 *
 * Instances share nothing, so a host may use each on its own thread.
 */
#include <frei0r.h>
#include <limits.h>
#include <stdbool.h>
#include <stdlib.h>
#include <string.h>
#include <tlux/rgb.h>
#include <tlux/stream.h>

/** Parameters range from 0 to 1; the library uses per cent. */
enum { kStrength, kColour, kSteady, kParameters };

static const f0r_param_info_t kParameterInfo[kParameters] = {
    {"strength", F0R_PARAM_DOUBLE,
     "Strength of the effect; 1 is strong, 0 leaves frames untouched"},
    {"colour", F0R_PARAM_DOUBLE, "How far colour follows brightness"},
    {"steady", F0R_PARAM_BOOL,
     "Keep tones steady over time; for hosts that render frames in order"},
};

typedef struct {
  double parameters[kParameters];
  double latest; /**< Time of the latest frame; hosts use seconds or milliseconds. */
  TLUX_STREAM* stream;
  TLUX_STREAM_OPTIONS options;
  TLUX_IMAGE frame; /**< NV12 of the picture's size rounded up to even; owns plane 0. */
  int32_t width;
  int32_t height;
} Instance;

int f0r_init(void) {
  return 1;
}

void f0r_deinit(void) {}

void f0r_get_plugin_info(f0r_plugin_info_t* info) {
  *info = (f0r_plugin_info_t){
      .name = "tlux",
      .author = "tlux",
      .plugin_type = F0R_PLUGIN_TYPE_FILTER,
      .color_model = F0R_COLOR_MODEL_RGBA8888,
      .frei0r_version = FREI0R_MAJOR_VERSION,
      .major_version = TLUX_PLUGIN_MAJOR,
      .minor_version = TLUX_PLUGIN_MINOR,
      .num_params = kParameters,
      .explanation = "Lifts shadows, protects highlights and keeps local detail",
  };
}

void f0r_get_param_info(f0r_param_info_t* info, int index) {
  if (index >= 0 && index < kParameters) *info = kParameterInfo[index];
}

static bool make_frame(TLUX_IMAGE* frame, int32_t width, int32_t height) {
  const size_t luma = (size_t)width * (size_t)height;
  uint8_t* samples = malloc(luma + luma / 2);
  *frame = (TLUX_IMAGE){
      .format = TLUX_FMT_YCBCR420_YPUV,
      .width = width,
      .height = height,
      .plane = {samples, samples == NULL ? NULL : samples + luma},
      .pitch = {width, width},
  };
  return samples != NULL;
}

f0r_instance_t f0r_construct(unsigned int width, unsigned int height) {
  // The size of a host's row must fit 31 bits.
  if (width == 0 || height == 0 || width > INT_MAX / 4 || height > INT_MAX / 4) return NULL;
  Instance* instance = calloc(1, sizeof *instance);
  if (instance == NULL) return NULL;
  instance->width = (int32_t)width;
  instance->height = (int32_t)height;
  TLUX_InitStreamOptions(&instance->options, sizeof instance->options, TLUX_TONES_NATURAL);
  instance->parameters[kStrength] = 0.3;
  instance->parameters[kColour] = instance->options.colour / 100.0;
  if (!make_frame(&instance->frame, instance->width + instance->width % 2,
                  instance->height + instance->height % 2) ||
      TLUX_OpenStream(NULL, &instance->options, &instance->stream) != TLUX_OK) {
    f0r_destruct(instance);
    return NULL;
  }
  return instance;
}

void f0r_destruct(f0r_instance_t handle) {
  Instance* instance = handle;
  TLUX_CloseStream(&instance->stream);
  free(instance->frame.plane[0]);
  free(instance);
}

void f0r_set_param_value(f0r_instance_t handle, f0r_param_t value, int index) {
  Instance* instance = handle;
  if (index < 0 || index >= kParameters) return;
  const double wanted = *(const double*)value;
  instance->parameters[index] = wanted > 0 ? (wanted < 1 ? wanted : 1) : 0; // NaN: 0
}

void f0r_get_param_value(f0r_instance_t handle, f0r_param_t value, int index) {
  const Instance* instance = handle;
  if (index >= 0 && index < kParameters) *(double*)value = instance->parameters[index];
}

static uint32_t per_cent(const Instance* instance, int index) {
  return (uint32_t)(instance->parameters[index] * 100 + 0.5);
}

/**
 * Prepares the stream for a frame at this time. Editors jump around, and those with many threads
 * spread frames over many instances: the result must then not depend on what the instance saw
 * before.
 */
static void prepare(Instance* instance, double time) {
  const uint32_t colour = per_cent(instance, kColour);
  if (instance->options.colour != colour) {
    instance->options.colour = colour;
    TLUX_ChangeStream(instance->stream, &instance->options);
  }
  const bool follows = instance->parameters[kSteady] >= 0.5 && time > instance->latest;
  if (!follows) TLUX_ResetStream(instance->stream);
  instance->latest = time;
}

void f0r_update(f0r_instance_t handle, double time, const uint32_t* source, uint32_t* output) {
  Instance* instance = handle;
  const TLUX_PICTURE picture = {
      .pixels = (uint8_t*)output,
      .pitch = (int64_t)instance->width * 4,
      .width = instance->width,
      .height = instance->height,
      .layout = TLUX_RGBA,
  };
  // The library keeps alpha, and a frame that it cannot process is unchanged.
  if (output != source) memcpy(output, source, (size_t)picture.pitch * (size_t)picture.height);
  const uint32_t strength = per_cent(instance, kStrength);
  if (strength == 0) return;
  prepare(instance, time);
  if (TLUX_PictureToFrame(&picture, &instance->frame) == TLUX_OK &&
      TLUX_RunStream(instance->stream, &instance->frame, &instance->frame, strength) == TLUX_OK) {
    TLUX_FrameToPicture(&instance->frame, &picture);
  }
}

/**
 * SECTION:element-tlux
 * @title: tlux
 *
 * Lifts shadows, protects highlights and keeps local detail, in NV12 and NV21 video of any size, in
 * full or limited range according to the colorimetry in the caps. Frames are processed in place.
 *
 * |[
 * gst-launch-1.0 v4l2src ! videoconvert ! tlux strength=40 ! videoconvert ! autovideosink
 * ]|
 */
#include "element.h"

#include "live_stream.h"

GST_DEBUG_CATEGORY_STATIC(gst_tlux_debug);
#define GST_CAT_DEFAULT gst_tlux_debug

/** What we recommend for most video. */
#define DEFAULT_STRENGTH 30

struct _GstTlux {
  GstVideoFilter parent;

  // Protected by the object lock.
  TluxSettings settings;
  GstClockTime earliest; /**< Running time that frames must be after to be in time. */
  gdouble proportion;    /**< Of the latest QoS event. */

  // Used only by the streaming thread.
  TluxLiveStream live;
  gboolean is_new_scene; /**< The next processed frame does not follow the one before. */
  guint64 treated;
  guint64 untouched; /**< Frames that were late. */
};

G_DEFINE_TYPE(GstTlux, gst_tlux, GST_TYPE_VIDEO_FILTER)
GST_ELEMENT_REGISTER_DEFINE_WITH_CODE(tlux, "tlux", GST_RANK_NONE, GST_TYPE_TLUX,
                                      GST_DEBUG_CATEGORY_INIT(gst_tlux_debug, "tlux", 0,
                                                              "dynamic range optimization"))

enum { PROP_STRENGTH = 1, PROP_COLOUR, PROP_STEADY, PROP_EXACT, PROP_THREADS };

static TluxSettings settings_now(GstTlux* self) {
  GST_OBJECT_LOCK(self);
  const TluxSettings settings = self->settings;
  GST_OBJECT_UNLOCK(self);
  return settings;
}

static void gst_tlux_set_property(GObject* object, guint id, const GValue* value,
                                  GParamSpec* spec) {
  GstTlux* self = GST_TLUX(object);
  GST_OBJECT_LOCK(self);
  switch (id) {
    case PROP_STRENGTH:
      self->settings.strength = g_value_get_uint(value);
      break;
    case PROP_COLOUR:
      self->settings.colour = g_value_get_uint(value);
      break;
    case PROP_STEADY:
      self->settings.steady = g_value_get_uint(value);
      break;
    case PROP_EXACT:
      self->settings.exact = g_value_get_boolean(value);
      break;
    case PROP_THREADS:
      self->settings.threads = g_value_get_uint(value);
      break;
    default:
      G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, spec);
      break;
  }
  GST_OBJECT_UNLOCK(self);
}

static void gst_tlux_get_property(GObject* object, guint id, GValue* value, GParamSpec* spec) {
  const TluxSettings settings = settings_now(GST_TLUX(object));
  switch (id) {
    case PROP_STRENGTH:
      g_value_set_uint(value, settings.strength);
      break;
    case PROP_COLOUR:
      g_value_set_uint(value, settings.colour);
      break;
    case PROP_STEADY:
      g_value_set_uint(value, settings.steady);
      break;
    case PROP_EXACT:
      g_value_set_boolean(value, settings.exact);
      break;
    case PROP_THREADS:
      g_value_set_uint(value, settings.threads);
      break;
    default:
      G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, spec);
      break;
  }
}

/** Resets the state as if no frame and no QoS event had been seen. */
static void begin_anew(GstTlux* self) {
  self->is_new_scene = TRUE;
  GST_OBJECT_LOCK(self);
  self->earliest = GST_CLOCK_TIME_NONE;
  GST_OBJECT_UNLOCK(self);
}

static gboolean gst_tlux_start(GstBaseTransform* transform) {
  GstTlux* self = GST_TLUX(transform);
  begin_anew(self);
  self->treated = 0;
  self->untouched = 0;
  return TRUE;
}

static gboolean gst_tlux_stop(GstBaseTransform* transform) {
  tlux_live_stream_close(&GST_TLUX(transform)->live);
  return TRUE;
}

static gboolean gst_tlux_sink_event(GstBaseTransform* transform, GstEvent* event) {
  if (GST_EVENT_TYPE(event) == GST_EVENT_FLUSH_STOP) begin_anew(GST_TLUX(transform));
  return GST_BASE_TRANSFORM_CLASS(gst_tlux_parent_class)->sink_event(transform, event);
}

/**
 * The base class would drop late frames; here they pass untouched, and the sink decides. So the
 * base class does not get the event.
 */
static gboolean gst_tlux_src_event(GstBaseTransform* transform, GstEvent* event) {
  GstTlux* self = GST_TLUX(transform);
  if (GST_EVENT_TYPE(event) != GST_EVENT_QOS) {
    return GST_BASE_TRANSFORM_CLASS(gst_tlux_parent_class)->src_event(transform, event);
  }
  gdouble proportion = 1;
  GstClockTimeDiff jitter = 0;
  GstClockTime timestamp = GST_CLOCK_TIME_NONE;
  gst_event_parse_qos(event, NULL, &proportion, &jitter, &timestamp);
  GST_OBJECT_LOCK(self);
  self->earliest =
      GST_CLOCK_TIME_IS_VALID(timestamp) ? timestamp + (GstClockTime)jitter : GST_CLOCK_TIME_NONE;
  self->proportion = proportion;
  GST_OBJECT_UNLOCK(self);
  return gst_pad_push_event(transform->sinkpad, event);
}

static void post_qos(GstTlux* self, GstBuffer* buffer, GstClockTime running_time,
                     GstClockTime earliest, gdouble proportion) {
  const GstSegment* segment = &GST_BASE_TRANSFORM(self)->segment;
  GstMessage* message = gst_message_new_qos(
      GST_OBJECT(self), FALSE, running_time,
      gst_segment_to_stream_time(segment, GST_FORMAT_TIME, GST_BUFFER_PTS(buffer)),
      GST_BUFFER_PTS(buffer), GST_BUFFER_DURATION(buffer));
  gst_message_set_qos_values(message, GST_CLOCK_DIFF(running_time, earliest), proportion, 1000000);
  gst_message_set_qos_stats(message, GST_FORMAT_BUFFERS, self->treated, self->untouched);
  gst_element_post_message(GST_ELEMENT(self), message);
}

/** Whether the sink has reported that frames of this time arrive too late. */
static gboolean is_late(GstTlux* self, GstBuffer* buffer) {
  GstBaseTransform* transform = GST_BASE_TRANSFORM(self);
  if (transform->segment.format != GST_FORMAT_TIME ||
      !gst_base_transform_is_qos_enabled(transform)) {
    return FALSE;
  }
  GST_OBJECT_LOCK(self);
  const GstClockTime earliest = self->earliest;
  const gdouble proportion = self->proportion;
  GST_OBJECT_UNLOCK(self);
  const GstClockTime time =
      gst_segment_to_running_time(&transform->segment, GST_FORMAT_TIME, GST_BUFFER_PTS(buffer));
  if (!GST_CLOCK_TIME_IS_VALID(time) || !GST_CLOCK_TIME_IS_VALID(earliest) || time > earliest) {
    return FALSE;
  }
  ++self->untouched;
  post_qos(self, buffer, time, earliest, proportion);
  return TRUE;
}

/** Decides whether the frame is processed or passes unchanged. */
static void gst_tlux_before_transform(GstBaseTransform* transform, GstBuffer* buffer) {
  GstTlux* self = GST_TLUX(transform);
  const GstClockTime time =
      gst_segment_to_stream_time(&transform->segment, GST_FORMAT_TIME, GST_BUFFER_PTS(buffer));
  if (GST_CLOCK_TIME_IS_VALID(time)) gst_object_sync_values(GST_OBJECT(self), time);

  const gboolean is_off = settings_now(self).strength == 0;
  if (is_off || GST_BUFFER_IS_DISCONT(buffer)) self->is_new_scene = TRUE;
  gst_base_transform_set_passthrough(transform, is_off || is_late(self, buffer));
}

static GstFlowReturn gst_tlux_transform_frame_ip(GstVideoFilter* filter, GstVideoFrame* frame) {
  GstTlux* self = GST_TLUX(filter);
  const TluxSettings settings = settings_now(self);
  if (self->is_new_scene) tlux_live_stream_reset(&self->live);
  self->is_new_scene = FALSE;
  switch (tlux_live_stream_run(&self->live, &settings, frame)) {
    case TLUX_OK:
      ++self->treated;
      return GST_FLOW_OK;
    case TLUX_ERR_NO_MEMORY:
      GST_ELEMENT_WARNING(self, RESOURCE, NO_SPACE_LEFT, ("Not enough memory to process a frame."),
                          (NULL));
      return GST_FLOW_OK;
    case TLUX_ERR_THREAD:
      GST_ELEMENT_WARNING(self, RESOURCE, FAILED,
                          ("No thread could be started to process a frame."), (NULL));
      return GST_FLOW_OK;
    default:
      GST_ELEMENT_ERROR(self, STREAM, FORMAT, ("The layout of a frame is not supported."),
                        ("%d x %d, strides %d and %d", GST_VIDEO_FRAME_WIDTH(frame),
                         GST_VIDEO_FRAME_HEIGHT(frame), GST_VIDEO_FRAME_PLANE_STRIDE(frame, 0),
                         GST_VIDEO_FRAME_PLANE_STRIDE(frame, 1)));
      return GST_FLOW_ERROR;
  }
}

static TLUX_STREAM_OPTIONS recommended(void) {
  TLUX_STREAM_OPTIONS options = {0};
  TLUX_InitStreamOptions(&options, sizeof options, TLUX_TONES_NATURAL);
  return options;
}

static void install_properties(GObjectClass* class) {
  const TLUX_STREAM_OPTIONS defaults = recommended();
  const GParamFlags flags = G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS | GST_PARAM_CONTROLLABLE |
                            GST_PARAM_MUTABLE_PLAYING;
  g_object_class_install_property(
      class, PROP_STRENGTH,
      g_param_spec_uint("strength", "Strength",
                        "Strength of the effect; 100 is strong, 0 passes frames through untouched",
                        0, 100, DEFAULT_STRENGTH, flags));
  g_object_class_install_property(
      class, PROP_COLOUR,
      g_param_spec_uint("colour", "Colour",
                        "How far colour follows brightness, in per cent; not used if exact", 0, 100,
                        defaults.colour, flags));
  g_object_class_install_property(
      class, PROP_STEADY,
      g_param_spec_uint("steady", "Steady",
                        "Frames over which the tones follow the scene, 0: every frame by itself; "
                        "not used if exact",
                        0, 1000, defaults.steady, flags));
  g_object_class_install_property(
      class, PROP_EXACT,
      g_param_spec_boolean("exact", "Exact",
                           "The tones of the library's run to the byte instead of natural ones",
                           FALSE, flags));
  g_object_class_install_property(
      class, PROP_THREADS,
      g_param_spec_uint("threads", "Threads",
                        "Threads that work on a frame, 0: one for each processor, 4 at most; "
                        "a change restarts the steady tones",
                        0, 64, 0, flags));
}

static void gst_tlux_class_init(GstTluxClass* class) {
  GObjectClass* object = G_OBJECT_CLASS(class);
  object->set_property = gst_tlux_set_property;
  object->get_property = gst_tlux_get_property;
  install_properties(object);

  GstElementClass* element = GST_ELEMENT_CLASS(class);
  gst_element_class_set_static_metadata(
      element, "Dynamic range optimization", "Filter/Effect/Video",
      "Lifts shadows, protects highlights and keeps local detail", "tlux");
  GstCaps* caps = gst_caps_from_string(GST_VIDEO_CAPS_MAKE("{ NV12, NV21 }"));
  gst_element_class_add_pad_template(
      element, gst_pad_template_new("sink", GST_PAD_SINK, GST_PAD_ALWAYS, caps));
  gst_element_class_add_pad_template(
      element, gst_pad_template_new("src", GST_PAD_SRC, GST_PAD_ALWAYS, caps));
  gst_caps_unref(caps);

  GstBaseTransformClass* transform = GST_BASE_TRANSFORM_CLASS(class);
  transform->transform_ip_on_passthrough = FALSE;
  transform->start = gst_tlux_start;
  transform->stop = gst_tlux_stop;
  transform->sink_event = gst_tlux_sink_event;
  transform->src_event = gst_tlux_src_event;
  transform->before_transform = gst_tlux_before_transform;

  GstVideoFilterClass* filter = GST_VIDEO_FILTER_CLASS(class);
  filter->transform_frame_ip = gst_tlux_transform_frame_ip;
}

static void gst_tlux_init(GstTlux* self) {
  const TLUX_STREAM_OPTIONS defaults = recommended();
  self->settings = (TluxSettings){
      .strength = DEFAULT_STRENGTH, .colour = defaults.colour, .steady = defaults.steady};
  self->earliest = GST_CLOCK_TIME_NONE;
}

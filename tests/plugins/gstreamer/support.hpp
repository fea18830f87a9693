#pragma once

#include <gst/check/gstharness.h>
#include <gst/video/video.h>

#include <memory>
#include <ostream>
#include <string>

#include "support/frame.hpp"
#include "tlux.hpp"

namespace tlux::test::gstreamer {

struct Unref {
  void operator()(GstBuffer* buffer) const { gst_buffer_unref(buffer); }
  void operator()(GstCaps* caps) const { gst_caps_unref(caps); }
  void operator()(GstEvent* event) const { gst_event_unref(event); }
  void operator()(GstMessage* message) const { gst_message_unref(message); }
};
using BufferPtr = std::unique_ptr<GstBuffer, Unref>;
using CapsPtr = std::unique_ptr<GstCaps, Unref>;
using EventPtr = std::unique_ptr<GstEvent, Unref>;
using MessagePtr = std::unique_ptr<GstMessage, Unref>;

struct VideoShape {
  int width = 64;
  int height = 48;
  GstVideoFormat format = GST_VIDEO_FORMAT_NV12;
  bool isFull = false;

  CapsPtr caps() const;
  int chromaBytes() const { return (width + 1) / 2 * 2; }
  int chromaRows() const { return (height + 1) / 2; }
};

void PrintTo(const VideoShape& shape, std::ostream* out);

// The samples of a frame, rows without padding.
struct Picture {
  Bytes luma;
  Bytes chroma;
  bool operator==(const Picture&) const = default;
};

Picture makePicture(const VideoShape& shape, Scene scene, std::uint32_t seed = 1);

// The layout of the planes in a buffer.
struct Layout {
  gint stride[GST_VIDEO_MAX_PLANES];
  gsize offset[GST_VIDEO_MAX_PLANES];
  gsize size;
};

enum class Placing {
  kDefault, // as the caps alone say
  kTight,   // no byte that is not a sample
  kPadded,  // gaps before, between and within the planes
  kSwapped, // chroma before luma
};

Layout layoutOf(const VideoShape& shape, Placing placing);

// A buffer that ends at an inaccessible page. It says by a GstVideoMeta where its planes
// lie, unless they do so by default.
BufferPtr makeBuffer(const VideoShape& shape, Placing placing, const Picture& picture);

// All bytes of a buffer, and the picture in it.
Bytes bytesOf(GstBuffer* buffer);
Picture pictureIn(GstBuffer* buffer, const VideoShape& shape);

// What the library makes of a stream of pictures.
class Expected {
 public:
  explicit Expected(const VideoShape& shape) { setShape(shape); }

  // Takes effect with the next picture.
  TLUX_STREAM_OPTIONS& options() { return options_; }
  void setShape(const VideoShape& shape);
  void reset() { stream_.reset(); }
  Picture run(const Picture& picture, std::uint32_t strength);

 private:
  VideoShape shape_;
  TLUX_STREAM_OPTIONS options_ = Stream::options(TLUX_TONES_NATURAL);
  Stream stream_;
};

// The element between two pads of the test's.
class Element {
 public:
  static constexpr GstClockTime kFrameTime = 40 * GST_MSECOND;

  explicit Element(const VideoShape& shape);

  GstHarness* harness() const { return harness_.get(); }
  GstElement* get() const { return harness_->element; }
  template <class T>
  void set(const char* property, T value) {
    g_object_set(get(), property, value, nullptr);
  }
  void setShape(const VideoShape& shape);

  // Sends a buffer through, with the next time.
  BufferPtr push(BufferPtr buffer);
  Picture push(const Picture& picture, unsigned flags = 0);

 private:
  struct TearDown {
    void operator()(GstHarness* harness) const { gst_harness_teardown(harness); }
  };
  VideoShape shape_;
  std::unique_ptr<GstHarness, TearDown> harness_;
  GstClockTime time_ = 0;
};

} // namespace tlux::test::gstreamer

#include "support.hpp"

#include <gtest/gtest.h>

#include <algorithm>

namespace tlux::test::gstreamer {

namespace {

constexpr std::uint8_t kPadding = 0xA5;

// Calls visit(plane, row, first byte of the row in the plane, its samples) for each row.
template <class Visit>
void forEachRow(const VideoShape& shape, Picture& picture, Visit visit) {
  for (int row = 0; row < shape.height; ++row)
    visit(0, row, picture.luma.data() + std::ptrdiff_t{row} * shape.width, shape.width);
  for (int row = 0; row < shape.chromaRows(); ++row)
    visit(1, row, picture.chroma.data() + std::ptrdiff_t{row} * shape.chromaBytes(),
          shape.chromaBytes());
}

Picture blankPicture(const VideoShape& shape) {
  return {Bytes(std::size_t(shape.width) * shape.height),
          Bytes(std::size_t(shape.chromaBytes()) * shape.chromaRows())};
}

} // namespace

CapsPtr VideoShape::caps() const {
  GstVideoInfo info;
  gst_video_info_set_format(&info, format, width, height);
  info.fps_n = 25;
  info.fps_d = 1;
  info.colorimetry.range = isFull ? GST_VIDEO_COLOR_RANGE_0_255 : GST_VIDEO_COLOR_RANGE_16_235;
  info.colorimetry.matrix = GST_VIDEO_COLOR_MATRIX_BT601;
  return CapsPtr(gst_video_info_to_caps(&info));
}

void PrintTo(const VideoShape& shape, std::ostream* out) {
  *out << gst_video_format_to_string(shape.format) << " " << shape.width << " x " << shape.height
       << (shape.isFull ? " full" : " limited");
}

Picture makePicture(const VideoShape& shape, Scene scene, std::uint32_t seed) {
  Frame frame({.width = shape.chromaBytes(), .height = shape.chromaRows() * 2}, scene, seed);
  Picture picture = blankPicture(shape);
  forEachRow(shape, picture, [&](int plane, int row, std::uint8_t* samples, int count) {
    std::copy_n(frame.row(plane, row), count, samples);
  });
  return picture;
}

Layout layoutOf(const VideoShape& shape, Placing placing) {
  GstVideoInfo info;
  gst_video_info_set_format(&info, shape.format, shape.width, shape.height);
  if (placing == Placing::kDefault) {
    return {{info.stride[0], info.stride[1]}, {info.offset[0], info.offset[1]}, info.size};
  }
  const bool isTight = placing == Placing::kTight;
  const int strides[] = {shape.width + (isTight ? 0 : 48),
                         shape.chromaBytes() + (isTight ? 0 : 22)};
  const gsize gap = isTight ? 0 : 37;
  // A plane ends with its last sample.
  const gsize sizes[] = {gsize(strides[0]) * (shape.height - 1) + shape.width,
                         gsize(strides[1]) * (shape.chromaRows() - 1) + shape.chromaBytes()};
  const int first = placing == Placing::kSwapped ? 1 : 0;
  Layout layout = {{strides[0], strides[1]}, {}, 0};
  layout.offset[first] = gap;
  layout.offset[1 - first] = gap + sizes[first] + gap;
  layout.size = layout.offset[1 - first] + sizes[1 - first];
  return layout;
}

BufferPtr makeBuffer(const VideoShape& shape, Placing placing, const Picture& picture) {
  Layout layout = layoutOf(shape, placing);
  auto* memory = new GuardedBuffer(layout.size, kPadding);
  Picture source = picture;
  forEachRow(shape, source, [&](int plane, int row, const std::uint8_t* samples, int count) {
    std::copy_n(samples, count,
                memory->data() + layout.offset[plane] + std::ptrdiff_t{row} * layout.stride[plane]);
  });
  BufferPtr buffer(gst_buffer_new_wrapped_full(
      GstMemoryFlags{}, memory->data(), layout.size, 0, layout.size, memory,
      [](gpointer guarded) { delete static_cast<GuardedBuffer*>(guarded); }));
  if (placing != Placing::kDefault) {
    gst_buffer_add_video_meta_full(buffer.get(), GST_VIDEO_FRAME_FLAG_NONE, shape.format,
                                   shape.width, shape.height, 2, layout.offset, layout.stride);
  }
  return buffer;
}

Bytes bytesOf(GstBuffer* buffer) {
  Bytes bytes(gst_buffer_get_size(buffer));
  gst_buffer_extract(buffer, 0, bytes.data(), bytes.size());
  return bytes;
}

Picture pictureIn(GstBuffer* buffer, const VideoShape& shape) {
  GstVideoInfo info;
  gst_video_info_set_format(&info, shape.format, shape.width, shape.height);
  GstVideoFrame frame;
  if (!gst_video_frame_map(&frame, &info, buffer, GST_MAP_READ)) return {};
  Picture picture = blankPicture(shape);
  forEachRow(shape, picture, [&](int plane, int row, std::uint8_t* samples, int count) {
    const auto* data = static_cast<const std::uint8_t*>(frame.data[plane]);
    std::copy_n(data + std::ptrdiff_t{row} * GST_VIDEO_FRAME_PLANE_STRIDE(&frame, plane), count,
                samples);
  });
  gst_video_frame_unmap(&frame);
  return picture;
}

void Expected::setShape(const VideoShape& shape) {
  shape_ = shape;
  options_.range = shape.isFull ? TLUX_RANGE_FULL : TLUX_RANGE_LIMITED;
}

Picture Expected::run(const Picture& picture, std::uint32_t strength) {
  EXPECT_EQ(stream_.change(options_), TLUX_OK);
  // Sides are made even by repeating the last column and row.
  const int width = shape_.chromaBytes();
  const int height = shape_.chromaRows() * 2;
  Bytes luma = mapPixels(width, height, [&](int x, int y) {
    return picture.luma[std::size_t(std::min(y, shape_.height - 1)) * shape_.width +
                        std::min(x, shape_.width - 1)];
  });
  Picture result = picture;
  const TLUX_IMAGE image = {
      shape_.format == GST_VIDEO_FORMAT_NV12 ? TLUX_FMT_YCBCR420_YPUV : TLUX_FMT_YCBCR420_YPVU,
      width,
      height,
      {luma.data(), result.chroma.data()},
      {width, width}};
  EXPECT_EQ(stream_.run(image, strength), TLUX_OK);
  result.luma = mapPixels(shape_.width, shape_.height,
                          [&](int x, int y) { return luma[std::size_t(y) * width + x]; });
  return result;
}

Element::Element(const VideoShape& shape) : harness_(gst_harness_new("tlux")) {
  setShape(shape);
}

void Element::setShape(const VideoShape& shape) {
  shape_ = shape;
  gst_harness_set_src_caps(harness(), shape.caps().release());
}

BufferPtr Element::push(BufferPtr buffer) {
  GST_BUFFER_PTS(buffer.get()) = time_;
  GST_BUFFER_DURATION(buffer.get()) = kFrameTime;
  time_ += kFrameTime;
  return BufferPtr(gst_harness_push_and_pull(harness(), buffer.release()));
}

Picture Element::push(const Picture& picture, unsigned flags) {
  BufferPtr buffer = makeBuffer(shape_, Placing::kDefault, picture);
  GST_BUFFER_FLAG_SET(buffer.get(), flags);
  const BufferPtr result = push(std::move(buffer));
  return result == nullptr ? Picture() : pictureIn(result.get(), shape_);
}

} // namespace tlux::test::gstreamer

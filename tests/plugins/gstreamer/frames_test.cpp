// Frames come out as the library makes them, wherever their planes lie, and nothing else is
// touched.
#include <gtest/gtest.h>

#include "support.hpp"

namespace tlux::test::gstreamer {
namespace {

constexpr Placing kPlacings[] = {Placing::kDefault, Placing::kTight, Placing::kPadded,
                                 Placing::kSwapped};
constexpr std::uint32_t kStrength = 30; // the default

class Frames : public testing::TestWithParam<VideoShape> {};

// The buffer as it must be once the picture in it was replaced.
Bytes bytesWith(const VideoShape& shape, Placing placing, const Picture& picture) {
  return bytesOf(makeBuffer(shape, placing, picture).get());
}

TEST_P(Frames, AreThoseOfTheLibraryInTheSameMemory) {
  const VideoShape shape = GetParam();
  const Picture picture = makePicture(shape, Scene::kWindow);
  const Picture expected = Expected(shape).run(picture, kStrength);
  for (const Placing placing : kPlacings) {
    SCOPED_TRACE(static_cast<int>(placing));
    Element element(shape);
    BufferPtr buffer = makeBuffer(shape, placing, picture);
    const GstMemory* memory = gst_buffer_peek_memory(buffer.get(), 0);
    const BufferPtr result = element.push(std::move(buffer));
    ASSERT_NE(result, nullptr);
    EXPECT_EQ(bytesOf(result.get()), bytesWith(shape, placing, expected));
    EXPECT_EQ(gst_buffer_peek_memory(result.get(), 0), memory);
  }
}

TEST_P(Frames, ThatOthersHoldAreLeftAsTheyWere) {
  const VideoShape shape = GetParam();
  const Picture picture = makePicture(shape, Scene::kWindow);
  const Picture expected = Expected(shape).run(picture, kStrength);
  for (const Placing placing : kPlacings) {
    SCOPED_TRACE(static_cast<int>(placing));
    Element element(shape);
    BufferPtr buffer = makeBuffer(shape, placing, picture);
    const BufferPtr shared(gst_buffer_ref(buffer.get()));
    const BufferPtr result = element.push(std::move(buffer));
    ASSERT_NE(result, nullptr);
    EXPECT_EQ(pictureIn(result.get(), shape), expected);
    EXPECT_EQ(bytesOf(shared.get()), bytesWith(shape, placing, picture));
  }
}

constexpr VideoShape kShapes[] = {
    {64, 48, GST_VIDEO_FORMAT_NV12, false},  {64, 48, GST_VIDEO_FORMAT_NV12, true},
    {64, 48, GST_VIDEO_FORMAT_NV21, false},  {320, 180, GST_VIDEO_FORMAT_NV21, true},
    {161, 90, GST_VIDEO_FORMAT_NV12, true},  {160, 91, GST_VIDEO_FORMAT_NV21, false},
    {161, 91, GST_VIDEO_FORMAT_NV12, false}, {2, 2, GST_VIDEO_FORMAT_NV12, false},
    {1, 1, GST_VIDEO_FORMAT_NV21, true},     {1920, 1080, GST_VIDEO_FORMAT_NV12, false},
};
INSTANTIATE_TEST_SUITE_P(Shapes, Frames, testing::ValuesIn(kShapes));

// Whether upstream learns that it may place planes as it likes.
bool offersAnyStride(bool downstreamDoes) {
  const VideoShape shape;
  Element element(shape);
  if (downstreamDoes) {
    gst_harness_add_propose_allocation_meta(element.harness(), GST_VIDEO_META_API_TYPE, nullptr);
  }
  element.push(makePicture(shape, Scene::kGrey)); // caps have gone through
  GstQuery* query = gst_query_new_allocation(shape.caps().get(), TRUE);
  EXPECT_TRUE(gst_pad_peer_query(element.harness()->srcpad, query));
  const bool found = gst_query_find_allocation_meta(query, GST_VIDEO_META_API_TYPE, nullptr);
  gst_query_unref(query);
  return found;
}

TEST(Allocation, UpstreamMayPlacePlanesAsDownstreamAllows) {
  EXPECT_TRUE(offersAnyStride(true));
  EXPECT_FALSE(offersAnyStride(false)); // the same buffers go downstream
}

TEST(Layouts, ThatCannotBeTreatedEndInAnError) {
  const VideoShape shape;
  Element element(shape);
  BufferPtr buffer = makeBuffer(shape, Placing::kPadded, makePicture(shape, Scene::kGrey));
  GstVideoMeta* meta = gst_buffer_get_video_meta(buffer.get());
  meta->stride[0] = shape.width / 2;
  EXPECT_EQ(gst_harness_push(element.harness(), buffer.release()), GST_FLOW_ERROR);
}

} // namespace
} // namespace tlux::test::gstreamer

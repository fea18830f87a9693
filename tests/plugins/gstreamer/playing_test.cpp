// What happens while frames flow: settings change, caps change, streams jump, the sink falls
// behind.
#include <gst/controller/gstdirectcontrolbinding.h>
#include <gst/controller/gstinterpolationcontrolsource.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>

#include "support.hpp"

namespace tlux::test::gstreamer {
namespace {

class Playing : public testing::Test {
 protected:
  // A frame of a scene that grows darker from frame to frame, so that steady tones lag behind.
  Picture nextPicture() {
    Picture picture = makePicture(shape_, Scene::kWindow);
    ++frame_;
    for (std::uint8_t& sample : picture.luma)
      sample = static_cast<std::uint8_t>(sample - sample * (frame_ % 16) / 64);
    return picture;
  }

  // Whether the element makes of the next frames what the library makes of them.
  void expectSame(std::uint32_t strength, int frames = 2, unsigned flags = 0) {
    for (int i = 0; i < frames; ++i) {
      const Picture picture = nextPicture();
      const Picture wanted = expected_.run(picture, strength);
      ASSERT_EQ(element_.push(picture, flags), wanted);
    }
  }

  void expectUntouched(int frames = 1) {
    for (int i = 0; i < frames; ++i) {
      const Picture picture = nextPicture();
      ASSERT_EQ(element_.push(picture), picture);
    }
  }

  void flush() {
    gst_harness_push_event(element_.harness(), gst_event_new_flush_start());
    gst_harness_push_event(element_.harness(), gst_event_new_flush_stop(TRUE));
    GstSegment segment;
    gst_segment_init(&segment, GST_FORMAT_TIME);
    gst_harness_push_event(element_.harness(), gst_event_new_segment(&segment));
  }

  VideoShape shape_ = {.width = 96, .height = 64};
  Element element_{shape_};
  Expected expected_{shape_};
  int frame_ = 0;
};

TEST_F(Playing, SettingsTakeEffectWithTheNextFrame) {
  expectSame(30);
  element_.set("strength", 77U);
  expectSame(77);
  element_.set("colour", expected_.options().colour = 91U);
  expectSame(77);
  element_.set("steady", expected_.options().steady = 0U);
  expectSame(77);
  element_.set("steady", expected_.options().steady = 20U);
  expectSame(77);
}

TEST_F(Playing, ExactTonesComeAndGo) {
  expectSame(30);
  const TLUX_STREAM_OPTIONS natural = expected_.options();
  expected_.options() = Stream::options(TLUX_TONES_EXACT);
  expected_.setShape(shape_);
  element_.set("exact", TRUE);
  expectSame(30);
  element_.set("colour", 3U); // not used
  expectSame(30);
  element_.set("colour", natural.colour);
  expected_.options() = natural;
  element_.set("exact", FALSE);
  expectSame(30);
}

TEST_F(Playing, AnotherNumberOfThreadsMakesTheSameOfTheScene) {
  expectSame(30);
  for (const unsigned threads : {1U, 3U, 64U, 0U}) {
    element_.set("threads", threads);
    expected_.reset();
    expectSame(30);
  }
}

TEST_F(Playing, AControllerMovesTheStrength) {
  GstControlSource* source = gst_interpolation_control_source_new();
  g_object_set(source, "mode", GST_INTERPOLATION_MODE_LINEAR, nullptr);
  gst_object_add_control_binding(
      GST_OBJECT(element_.get()),
      gst_direct_control_binding_new_absolute(GST_OBJECT(element_.get()), "strength", source));
  auto* points = GST_TIMED_VALUE_CONTROL_SOURCE(source);
  gst_timed_value_control_source_set(points, 0, 10);
  gst_timed_value_control_source_set(points, 10 * Element::kFrameTime, 60);
  for (std::uint32_t strength = 10; strength <= 60; strength += 5) {
    SCOPED_TRACE(strength);
    expectSame(strength, 1);
  }
  gst_object_unref(source);
}

TEST_F(Playing, StrengthZeroPassesTheVeryBuffers) {
  element_.set("strength", 0U);
  const Picture picture = nextPicture();
  BufferPtr buffer = makeBuffer(shape_, Placing::kPadded, picture);
  const BufferPtr shared(gst_buffer_ref(buffer.get()));
  const BufferPtr result = element_.push(std::move(buffer));
  EXPECT_EQ(result, shared);
  EXPECT_EQ(pictureIn(result.get(), shape_), picture);
  element_.set("strength", 50U);
  expectSame(50);
  element_.set("strength", 0U);
  expectUntouched();
  // What was seen before the pause is forgotten.
  element_.set("strength", 50U);
  expected_.reset();
  expectSame(50);
}

TEST_F(Playing, CapsChangeBetweenFrames) {
  expectSame(30);
  // The scene goes on, as when a player switches to a better rendition.
  for (const VideoShape& shape :
       {VideoShape{192, 128}, VideoShape{33, 31}, VideoShape{96, 64, GST_VIDEO_FORMAT_NV21},
        VideoShape{96, 64, GST_VIDEO_FORMAT_NV21, true}, shape_}) {
    SCOPED_TRACE(testing::PrintToString(shape));
    shape_ = shape;
    element_.setShape(shape);
    expected_.setShape(shape);
    expectSame(30);
  }
}

TEST_F(Playing, DiscontinuityStartsANewScene) {
  expectSame(30, 4);
  expected_.reset();
  expectSame(30, 1, GST_BUFFER_FLAG_DISCONT);
  expectSame(30, 3);
}

TEST_F(Playing, FlushStartsANewScene) {
  expectSame(30, 4);
  flush();
  expected_.reset();
  expectSame(30, 3);
}

TEST_F(Playing, LateFramesPassUntouchedUntilTheSinkHasCaughtUp) {
  GstBus* bus = gst_bus_new();
  gst_element_set_bus(element_.get(), bus);
  const auto sayLate = [&](GstClockTime timestamp, GstClockTimeDiff jitter) {
    gst_harness_push_upstream_event(
        element_.harness(), gst_event_new_qos(GST_QOS_TYPE_UNDERFLOW, 1.5, jitter, timestamp));
  };
  expectSame(30, 2);                                      // times 0 and 1
  sayLate(Element::kFrameTime, 2 * Element::kFrameTime);  // up to time 3
  expectUntouched(2);                                     // 2 and 3
  expectSame(30, 1);                                      // 4
  sayLate(4 * Element::kFrameTime, -Element::kFrameTime); // early
  expectSame(30, 1);                                      // 5
  int messages = 0;
  while (const MessagePtr message{gst_bus_pop_filtered(bus, GST_MESSAGE_QOS)}) {
    guint64 treated = 0;
    guint64 untouched = 0;
    gst_message_parse_qos_stats(message.get(), nullptr, &treated, &untouched);
    EXPECT_EQ(treated, 2U);
    EXPECT_EQ(untouched, static_cast<guint64>(++messages));
  }
  EXPECT_EQ(messages, 2);

  element_.set("qos", FALSE);
  sayLate(5 * Element::kFrameTime, 9 * Element::kFrameTime);
  expectSame(30, 1); // 6
  element_.set("qos", TRUE);
  expectUntouched(1);
  flush(); // what was said counts no longer
  expected_.reset();
  expectSame(30, 1);
  gst_element_set_bus(element_.get(), nullptr);
  gst_object_unref(bus);
}

TEST_F(Playing, QosGoesOnUpstream) {
  gst_harness_push_upstream_event(element_.harness(),
                                  gst_event_new_qos(GST_QOS_TYPE_UNDERFLOW, 1.5, 7, 1000));
  EventPtr event;
  do {
    event.reset(gst_harness_try_pull_upstream_event(element_.harness()));
    ASSERT_NE(event, nullptr);
  } while (GST_EVENT_TYPE(event.get()) != GST_EVENT_QOS);
}

TEST_F(Playing, StopsAndStartsAgain) {
  expectSame(30, 3);
  gst_element_set_state(element_.get(), GST_STATE_NULL);
  gst_harness_play(element_.harness());
  gst_harness_set_src_caps(element_.harness(), shape_.caps().release());
  expected_.reset();
  expectSame(30, 3);
}

long residentPages() {
  long pages = 0;
  std::ifstream("/proc/self/statm") >> pages >> pages;
  return pages;
}

TEST_F(Playing, AThousandBuffersTakeNoMemory) {
  shape_ = {161, 91}; // odd: frames are copied
  element_.setShape(shape_);
  const Picture picture = makePicture(shape_, Scene::kWindow);
  const auto play = [&](int frames) {
    for (int i = 0; i < frames; ++i)
      element_.push(picture, i % 100 == 0 ? GST_BUFFER_FLAG_DISCONT : 0);
    return residentPages() * sysconf(_SC_PAGESIZE);
  };
  const long before = play(200);
  EXPECT_LT(play(1000) - before, 1 << 18); // a frame in ten would be eight times as much
}

} // namespace
} // namespace tlux::test::gstreamer

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <vector>

#include "engine/scoped_engine.hpp"
#include "image/picture.hpp"
#include "reference/guided_filter_fast.hpp"
#include "reference/resample.hpp"
#include "reference/run.hpp"
#include "reliability/plane_members.hpp"
#include "support/effort.hpp"
#include "support/guarded_buffer.hpp"
#include "support/random.hpp"
#include "support/widths.hpp"
#include "tlux/copy.h"
#include "tlux/fast_guided_filter.h"

namespace tlux::test {
namespace {

constexpr std::uint8_t kGap = 0xA5;
constexpr int kSmall = 40;
constexpr int kWidths[] = {640, 1920, 4032};

int roundedUp(int value, int unit) {
  return (value + unit - 1) / unit * unit;
}

// Rows of samples that end with the last sample, at a page that cannot be touched or behind one.
class Rows {
 public:
  Rows(int rowBytes, int rows, int pitch, Guard guard = Guard::kBehind)
      : rowBytes_(rowBytes),
        rows_(rows),
        pitch_(pitch),
        buffer_(static_cast<std::size_t>(pitch) * (rows - 1) + rowBytes, kGap, guard) {}

  std::uint8_t* data() { return buffer_.data(); }
  int pitch() const { return pitch_; }
  void set(const Bytes& samples) {
    for (std::ptrdiff_t y = 0; y < rows_; ++y)
      std::copy_n(samples.begin() + y * rowBytes_, rowBytes_, data() + y * pitch_);
  }
  // Whether these are the samples, and nothing beside them was written.
  bool holds(const Bytes& samples) {
    if (samples.size() != static_cast<std::size_t>(rowBytes_) * rows_) return false;
    for (std::ptrdiff_t y = 0; y < rows_; ++y) {
      const std::uint8_t* row = data() + y * pitch_;
      if (!std::equal(row, row + rowBytes_, samples.begin() + y * rowBytes_)) return false;
      const int gap = y == rows_ - 1 ? 0 : pitch_ - rowBytes_;
      if (std::any_of(row + rowBytes_, row + rowBytes_ + gap, [](int b) { return b != kGap; }))
        return false;
    }
    return buffer_.isIntact();
  }

 private:
  int rowBytes_;
  int rows_;
  int pitch_;
  GuardedBuffer buffer_;
};

// Noise in which every third sample is 0, from an endless supply.
Bytes noise(std::size_t count) {
  static const Bytes kSupply = [] {
    Random random(1);
    Bytes supply;
    for (int i = 0; i < 1 << 20; ++i) {
      const std::uint32_t bits = random.bits();
      supply.push_back(static_cast<std::uint8_t>(bits % 3 == 0 ? 0 : bits >> 8));
    }
    return supply;
  }();
  static std::size_t next = 0;
  next = (next + 4099) % (kSupply.size() - count);
  const auto first = kSupply.begin() + static_cast<std::ptrdiff_t>(next);
  return {first, first + static_cast<std::ptrdiff_t>(count)};
}

// Samples between the rows, and for packed members none.
struct Gaps {
  int input;
  int output;
};

// Both sides in turn, of wide and of high planes.
Guard guardFor(Size size, Gaps gaps) {
  return (size.width + size.height + gaps.input) % 2 == 0 ? Guard::kBehind : Guard::kBefore;
}

void checkMember(const PlaneMember& member, Size size, Gaps gaps) {
  const Guard guard = guardFor(size, gaps);
  const Size inputSize = member.inputSize(size);
  // Distances are multiples of the sample's alignment.
  const int inputUnit = member.inputBytes == 3 ? 1 : member.inputBytes;
  const int outputUnit = member.outputBytes == 3 ? 1 : member.outputBytes;
  if (member.isPacked) gaps = {0, 0};
  const int inputBytes = inputSize.width * member.inputBytes;
  const int outputBytes = size.width * member.outputBytes;
  const Bytes samples = noise(static_cast<std::size_t>(inputBytes) * inputSize.height);
  Rows input(inputBytes, inputSize.height, inputBytes + gaps.input * inputUnit, guard);
  Rows output(outputBytes, size.height, outputBytes + gaps.output * outputUnit, guard);
  input.set(samples);
  ASSERT_EQ(
      member.apply({input.data(), input.pitch(), inputSize, output.data(), output.pitch(), size}),
      TLUX_OK);
  ASSERT_TRUE(output.holds(member.formula(samples, inputSize, size)));
  ASSERT_TRUE(input.holds(samples));
}

class ShapeSweep : public testing::TestWithParam<PlaneMember> {
 protected:
  // Calls until one fails, and says of which shape that was.
  static void check(Size size, Gaps gaps) {
    if (HasFatalFailure()) return;
    SCOPED_TRACE(testing::Message() << size.width << "x" << size.height << " gaps " << gaps.input
                                    << "," << gaps.output);
    checkMember(GetParam(), size, gaps);
  }
};

INSTANTIATE_TEST_SUITE_P(All, ShapeSweep, testing::ValuesIn(planeMembers()),
                         [](const auto& member) { return member.param.name; });

// Gaps that change from shape to shape also make planes start at any offset.
TEST_P(ShapeSweep, EverySmallShape) {
  const int step = kIsFast ? 1 : 3;
  int shape = 0;
  for (int height = 1; height <= kSmall; height += step) {
    for (int width = 1; width <= kSmall; width += step) {
      check({width, height}, {shape % 3, shape % 5});
      ++shape;
    }
  }
}

// Widths of every remainder. With gaps of up to 15 bytes, planes of two rows start at every offset.
TEST_P(ShapeSweep, EveryRemainderPitchAndOffset) {
  const int step = kIsFast ? 1 : 5;
  for (const int near : kWidths) {
    for (int width = near - 8; width < near + 8; width += step) {
      for (int gap = width % step; gap < 16; gap += 3 * step)
        check({width, 2}, {gap, 15 - gap});
      check({width, 3}, {roundedUp(width, 4) - width, roundedUp(width, 64) - width});
    }
  }
}

TEST_P(ShapeSweep, EveryEndOfAPiece) {
  for (const int width : pieceWidths())
    check({width, 3}, {width % 3, 1 + width % 4});
}

// ---- Images of several planes

// An image whose planes each end behind their last sample. One pair can be read before chroma.
class Image {
 public:
  Image(std::uint32_t format, int width, int height, int gap)
      : record_{format, width, height, {}, {}} {
    for (const auto& [bytes, rows] : extentsOf(format, width, height)) {
      const std::size_t plane = buffers_.size();
      const bool isSemiPlanar = format >> 8 == 8;
      const int before = plane == 0 ? 0 : (isSemiPlanar ? 2 : 1);
      const int rowBytes = isSemiPlanar && plane == 1 ? bytes / 2 * 2 : bytes;
      const int pitch = bytes + gap;
      const int size = before + (rows > 0 ? (rows - 1) * pitch + rowBytes : 0);
      buffers_.push_back(std::make_unique<GuardedBuffer>(static_cast<std::size_t>(size)));
      std::ranges::copy(noise(buffers_.back()->size()), buffers_.back()->data());
      record_.plane[plane] = buffers_.back()->data() + before;
      record_.pitch[plane] = pitch;
    }
  }
  TLUX_IMAGE& record() { return record_; }

 private:
  std::vector<std::unique_ptr<GuardedBuffer>> buffers_;
  TLUX_IMAGE record_;
};

void checkReduction(std::uint32_t format, int width, int height, int factor, int gap) {
  Image source(format, width, height, gap);
  const int step = 2 * factor;
  const TLUX_CROP_RECT whole{0, 0, width - 1, height - 1};
  const TLUX_CROP_RECT blocks{0, 0, width / step * step - 1, height / step * step - 1};
  const reference::Source formula{format, source.record(), blocks};
  reference::Reduced expected =
      factor == 1 ? reference::widen(formula) : reference::reduce(formula, factor);
  const int outWidth = expected.height == 0 ? 0 : expected.width;
  const int outHeight = expected.width == 0 ? 0 : expected.height;
  TLUX_IMAGE target{0, outWidth, outHeight, {}, {}};
  std::vector<std::unique_ptr<Rows>> planes;
  for (int i = 0; i < 3; ++i) {
    planes.push_back(std::make_unique<Rows>(std::max(outWidth, 1), std::max(outHeight, 1),
                                            std::max(outWidth, 1) + gap));
    target.plane[i] = planes.back()->data();
    target.pitch[i] = outWidth + gap;
  }
  ASSERT_EQ(TLUX_ScaleCropImage(&source.record(), &target, &whole, factor), TLUX_OK);
  for (int i = 0; i < 3; ++i) {
    const Bytes none = {kGap};
    ASSERT_TRUE(planes[i]->holds(outWidth == 0 ? none : expected.planes[i]))
        << std::hex << format << std::dec << " " << width << "x" << height << " by " << factor;
  }
}

TEST(ShapeSweepOfImages, Reductions) {
  constexpr std::uint32_t kFormats[] = {TLUX_FMT_YCBCR420_YPVU, TLUX_FMT_YCBCR420_YPUV,
                                        TLUX_FMT_YCBCR422_YPUV, TLUX_FMT_YCBCR420_P,
                                        TLUX_FMT_YCBCR422_P};
  const int step = kIsFast ? 1 : 5;
  int shape = 0;
  for (const std::uint32_t format : kFormats) {
    for (int factor = 1; factor <= 8; ++factor) {
      for (int height = 2; height <= kSmall; height += step) {
        for (int width = 2 + height % 3; width <= kSmall; width += 2 * step + 1)
          ASSERT_NO_FATAL_FAILURE(checkReduction(format, width, height, factor, ++shape % 4));
      }
      for (const int near : kWidths) {
        for (int width = near - 8; width < near + 8; width += step)
          ASSERT_NO_FATAL_FAILURE(
              checkReduction(format, width, 2 * factor, factor, roundedUp(width, 64) - width));
      }
    }
  }
}

void checkCopy(std::uint32_t format, int width, int height, int maxGap) {
  Random random(static_cast<std::uint32_t>(width * 64 + height));
  const Picture source = randomPicture(random, format, width, height, maxGap);
  const Picture target = randomPicture(random, format, width, height, maxGap);
  Picture expected = target;
  const TLUX_RECT whole{0, 0, width, height};
  PictureCopy(expected, whole, source, whole).plain();
  Frame in = frameOf(source);
  Frame out = frameOf(target);
  ASSERT_EQ(TLUX_CopyImage_IMK(out.get(), in.get()), TLUX_OK);
  ASSERT_TRUE(out == frameOf(expected))
      << std::hex << format << std::dec << " " << width << "x" << height;
}

TEST(ShapeSweepOfImages, Copies) {
  constexpr std::uint32_t kFormats[] = {
      TLUX_FMT_BGR24,      TLUX_FMT_BGR32,         TLUX_FMT_YCBYCR, TLUX_FMT_YCBCR420_P,
      TLUX_FMT_YCBCR440_P, TLUX_FMT_YCBCR420_YPVU, TLUX_FMT_GRAY};
  const int step = kIsFast ? 1 : 5;
  for (const std::uint32_t format : kFormats) {
    for (int height = 1; height <= kSmall; height += step) {
      for (int width = 1 + height % 2; width <= kSmall; width += 2 * step)
        ASSERT_NO_FATAL_FAILURE(checkCopy(format, width, height, width % 3));
    }
    for (const int near : kWidths) {
      for (int width = near - 8; width < near + 8; width += step)
        ASSERT_NO_FATAL_FAILURE(checkCopy(format, width, 2, width % 17));
    }
  }
}

// ---- The filter and the run on threads

void checkFilter(int width, int height) {
  const int fullWidth = 8 * width;
  const int gap = height % 5;
  const Guard guard = guardFor({width, height}, {0, 0});
  Rows low[] = {{width, height, width + gap, guard}, {width, height, width + gap, guard}};
  for (Rows& plane : low)
    plane.set(noise(static_cast<std::size_t>(width) * height));
  const Bytes guide = noise(static_cast<std::size_t>(fullWidth) * 8 * height);
  Rows fullGuide(fullWidth, 8 * height, fullWidth + gap, guard);
  Rows output(fullWidth, 8 * height, fullWidth + gap, guard);
  fullGuide.set(guide);
  Bytes expected(guide.size(), kGap);
  reference::fastGuidedFilter(low[0].data(), low[1].data(), guide.data(), expected.data(), width,
                              height, low[0].pitch(), fullWidth, fullWidth, 3, 20);
  ASSERT_EQ(FastGuideFilterMT(nullptr, low[0].data(), low[1].data(), fullGuide.data(),
                              output.data(), width, height, low[0].pitch(), output.pitch(), 3, 20),
            TLUX_OK);
  ASSERT_TRUE(output.holds(expected)) << width << "x" << height;
  ASSERT_TRUE(fullGuide.holds(guide));
}

// Heights that make bands of unequal rows, and bands without any.
TEST(ShapeSweepOfFrames, FastGuidedFilter) {
  const int step = kIsFast ? 1 : 3;
  for (int height = 1; height <= kSmall; ++height) {
    for (int width = 1 + height % step; width <= (height < 20 ? kSmall : 6); width += step)
      ASSERT_NO_FATAL_FAILURE(checkFilter(width, height));
  }
  for (const int width : widthsAround({128, 256}))
    ASSERT_NO_FATAL_FAILURE(checkFilter(width, 3));
}

void checkRun(const FrameShape& shape) {
  SCOPED_TRACE(testing::Message() << shape.width << "x" << shape.height << " pitch "
                                  << shape.lumaPitch << "," << shape.chromaPitch);
  ScopedEngine engine;
  Frame source(shape, Scene::kWindow);
  const Frame before = source.copy();
  Frame output(shape);
  Frame expected(shape);
  reference::optimizeFrame(source.image(), expected.image(), 60);
  ASSERT_EQ(engine.run(source, output, 60), TLUX_OK);
  ASSERT_TRUE(output == expected);
  ASSERT_TRUE(source == before);
}

// All even sizes up to 66 are in tests/engine; here every even remainder of the common ones.
TEST(ShapeSweepOfFrames, Run) {
  const int step = kIsFast ? 2 : 6;
  for (const int near : kWidths) {
    for (int side = near - 8; side < near + 8; side += step) {
      const int other = 16 + side % 16;
      ASSERT_NO_FATAL_FAILURE(checkRun({side, other}));
      ASSERT_NO_FATAL_FAILURE(checkRun({other, side}));
      ASSERT_NO_FATAL_FAILURE(checkRun({side, other, side + 1, side + 1}));
      ASSERT_NO_FATAL_FAILURE(checkRun({side, other, roundedUp(side, 4), roundedUp(side, 64)}));
      ASSERT_NO_FATAL_FAILURE(checkRun({side, other, roundedUp(side, 64), roundedUp(side, 64)}));
    }
  }
  for (const int width : widthsAround({1024, 2048})) {
    if (width % 2 != 0) continue;
    ASSERT_NO_FATAL_FAILURE(checkRun({width, 16, roundedUp(width, 4), roundedUp(width, 64)}));
  }
}

} // namespace
} // namespace tlux::test

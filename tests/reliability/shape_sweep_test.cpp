#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <vector>

#include "engine/scoped_engine.hpp"
#include "reference/run.hpp"
#include "reliability/plane_members.hpp"
#include "support/effort.hpp"
#include "support/guarded_buffer.hpp"
#include "support/random.hpp"
#include "support/widths.hpp"

namespace tlux::test {
namespace {

constexpr std::uint8_t kGap = 0xA5;
constexpr int kSmall = 40;
constexpr int kWidths[] = {640, 1920, 4032};

int roundedUp(int value, int unit) {
  return (value + unit - 1) / unit * unit;
}

// Rows of samples that end directly before an inaccessible page, or start directly after one.
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
  // Whether these are the samples, and nothing else was written.
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

// ---- The filter and the run on threads

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

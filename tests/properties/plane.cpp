// Every function of planes that the tests sweep, on planes of any shape.
#include "properties/properties.hpp"
#include "reliability/plane_members.hpp"
#include "support/guarded_buffer.hpp"

namespace tlux::properties {
namespace {

using test::Guard;
using test::GuardedBuffer;

// Rows that end with their last sample, with padding between them.
struct Rows {
  std::size_t bytes;
  std::size_t rows;
  std::size_t pitch;
  GuardedBuffer buffer;

  Rows(test::Size size, int sampleBytes, int gap, Guard guard)
      : bytes(static_cast<std::size_t>(size.width * sampleBytes)),
        rows(static_cast<std::size_t>(size.height)),
        pitch(bytes + static_cast<std::size_t>(gap * sampleBytes)),
        buffer((rows - 1) * pitch + bytes, 0xA5, guard) {}

  // Calls visit(row) for the samples of each.
  template <class Visit>
  void eachRow(Visit visit) {
    for (std::size_t y = 0; y < rows; ++y)
      visit(buffer.bytes().subspan(y * pitch, bytes));
  }
};

} // namespace

void checkPlane(Input& input) {
  const auto members = test::planeMembers();
  const auto last = static_cast<int>(members.size()) - 1;
  const test::PlaneMember& member = members[static_cast<std::size_t>(input.between(0, last))];
  const Extent extent = input.extent(64, 32);
  const test::Size size{extent.width, extent.height};
  const test::Size inputSize = member.inputSize(size);
  const Guard guard = input.flag() ? Guard::kBehind : Guard::kBefore;
  const int most = member.isPacked ? 0 : 5;
  Rows in(inputSize, member.inputBytes, input.between(0, most), guard);
  Rows out(size, member.outputBytes, input.between(0, most), guard);
  std::vector<std::uint8_t> samples;
  in.eachRow([&](std::span<std::uint8_t> row) {
    input.fill(row);
    samples.insert(samples.end(), row.begin(), row.end());
  });
  require(member.apply({in.buffer.data(), static_cast<int>(in.pitch), inputSize, out.buffer.data(),
                        static_cast<int>(out.pitch), size}) == TLUX_OK);
  const auto expected = member.formula(samples, inputSize, size);
  auto at = expected.begin();
  out.eachRow([&](std::span<std::uint8_t> row) {
    require(std::equal(row.begin(), row.end(), at));
    at += static_cast<std::ptrdiff_t>(out.bytes);
    std::ranges::fill(row, std::uint8_t{0xA5});
  });
  require(std::ranges::all_of(out.buffer.bytes(), [](int byte) { return byte == 0xA5; }));
  require(in.buffer.isIntact() && out.buffer.isIntact());
}

} // namespace tlux::properties

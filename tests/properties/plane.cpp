// Every function of planes that the tests sweep, on planes of any shape.
#include "properties/properties.hpp"
#include "reliability/plane_members.hpp"

namespace tlux::properties {

void checkPlane(Input& input) {
  const auto members = test::planeMembers();
  const auto last = static_cast<int>(members.size()) - 1;
  const test::PlaneMember& member = members[static_cast<std::size_t>(input.between(0, last))];
  const Extent extent = input.extent(64, 32);
  const test::Guard guard = input.flag() ? test::Guard::kBehind : test::Guard::kBefore;
  const int most = member.isPacked ? 0 : 5;
  test::Gaps gaps{};
  gaps.input = input.between(0, most);
  gaps.output = input.between(0, most);
  require(test::followsItsFormula(member, {extent.width, extent.height}, gaps, guard,
                                  [&](std::span<std::uint8_t> row) { input.fill(row); }));
}

} // namespace tlux::properties

#include "region/run_table.hpp"

#include <algorithm>
#include <bit>

namespace tlux::detail {
namespace {

// Bits where a row changes between clear and set, 64 pixels at a time: each run has one at its
// begin and one at its end.
class Changes {
 public:
  std::uint64_t next(std::uint64_t word) {
    const std::uint64_t changes = word ^ (word << 1 | last_);
    last_ = word >> 63;
    return changes;
  }

 private:
  std::uint64_t last_ = 0;
};

std::int64_t countRuns(const PackedMask& mask) {
  std::int64_t changes = 0;
  for (std::int32_t y = 0; y < mask.height(); ++y) {
    const std::uint64_t* words = mask.row(y);
    Changes row;
    for (std::ptrdiff_t i = 0; i < mask.wordsPerRow(); ++i) {
      changes += std::popcount(row.next(words[i]));
    }
  }
  return changes / 2;
}

// Stores begin and end of each run of a row alternately; returns the end of the stored values.
std::uint32_t* findEdges(const std::uint64_t* words, std::ptrdiff_t count, std::uint32_t* edges) {
  Changes row;
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    const auto first = static_cast<std::uint32_t>(i * 64);
    for (std::uint64_t changes = row.next(words[i]); changes != 0; changes &= changes - 1) {
      *edges++ = first + static_cast<std::uint32_t>(std::countr_zero(changes));
    }
  }
  return edges;
}

// The first run of a region. Halves the path to it for later searches.
std::uint32_t findRoot(std::uint32_t* parents, std::uint32_t run) {
  while (parents[run] != run) {
    parents[run] = parents[parents[run]];
    run = parents[run];
  }
  return run;
}

// A parent is never later than its child, so the root of a region is its first run.
void unite(std::uint32_t* parents, std::uint32_t a, std::uint32_t b) {
  const std::uint32_t rootA = findRoot(parents, a);
  const std::uint32_t rootB = findRoot(parents, b);
  parents[std::max(rootA, rootB)] = std::min(rootA, rootB);
}

// Replaces parents by numbers from 1 on: a parent comes before its children, so it already has its
// number.
std::uint32_t numberRegions(std::uint32_t* parents, std::uint32_t count) {
  std::uint32_t regions = 0;
  for (std::uint32_t run = 0; run < count; ++run) {
    parents[run] = parents[run] == run ? ++regions : parents[parents[run]];
  }
  return regions;
}

} // namespace

// A pool has no blocks of size 0, so even an empty table has room for one run.
RunTable::RunTable(MMemMgr manager, const PackedMask& mask)
    : height_(mask.height()),
      capacity_(std::max<std::int64_t>(countRuns(mask), 1)),
      rowFirst_(manager, std::int64_t{height_} + 1),
      edges_(manager, 2 * capacity_),
      regions_(manager, capacity_) {
  if (*this) findRuns(mask);
}

void RunTable::findRuns(const PackedMask& mask) {
  std::uint32_t* end = edges_.get();
  rowFirst_[0] = 0;
  for (std::int32_t y = 0; y < height_; ++y) {
    end = findEdges(mask.row(y), mask.wordsPerRow(), end);
    rowFirst_[y + 1] = static_cast<std::uint32_t>((end - edges_.get()) / 2);
  }
}

// Unites the touching runs of a row and the one above. Runs touch if they share a column or come
// within `reach` of each other. Advancing is branch-free, since which of the two rows advances is
// unpredictable.
void RunTable::joinRows(std::int32_t y, std::uint32_t reach) {
  std::uint32_t* parents = regions_.get();
  std::uint32_t upper = rowBegin(y - 1);
  std::uint32_t lower = rowBegin(y);
  const std::uint32_t upperEnd = lower;
  const std::uint32_t lowerEnd = rowEnd(y);
  while (upper < upperEnd && lower < lowerEnd) {
    const Run a = run(upper);
    const Run b = run(lower);
    if (a.begin < b.end + reach && b.begin < a.end + reach) unite(parents, upper, lower);
    upper += a.end <= b.end ? 1 : 0;
    lower += b.end <= a.end ? 1 : 0;
  }
}

std::uint32_t RunTable::join(Connectivity connectivity) {
  const std::uint32_t reach = connectivity == Connectivity::kEight ? 1 : 0;
  const std::uint32_t count = rowEnd(height_ - 1);
  for (std::uint32_t i = 0; i < count; ++i) {
    regions_[i] = i;
  }
  for (std::int32_t y = 1; y < height_; ++y) {
    joinRows(y, reach);
  }
  return numberRegions(regions_.get(), count);
}

} // namespace tlux::detail

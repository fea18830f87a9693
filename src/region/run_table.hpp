#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/scratch.hpp"
#include "region/packed_mask.hpp"

namespace tlux::detail {

// Adjacent set pixels of a row, given as columns; the end is exclusive.
struct Run {
  std::uint32_t begin;
  std::uint32_t end;

  std::uint32_t length() const { return end - begin; }
};

// Which of the eight surrounding pixels count as neighbours.
enum class Connectivity : std::uint8_t { kFour = 4, kEight = 8 };

constexpr bool isConnectivity(std::uint32_t neighbours) {
  return neighbours == 4 || neighbours == 8;
}

// The connectivity of the gaps between regions.
constexpr Connectivity dual(Connectivity connectivity) {
  return connectivity == Connectivity::kFour ? Connectivity::kEight : Connectivity::kFour;
}

// The runs of a mask in raster order and, once joined, the region of each. Regions are numbered
// from 1 in the order of their first runs.
//
// The labelling of L. He, Y. Chao and K. Suzuki, "A run-based two-scan labeling algorithm", 2008,
// with the one-array union-find of K. Wu, E. Otoo and K. Suzuki, "Optimizing two-pass
// connected-component labeling algorithms", 2009.
class RunTable {
 public:
  // The mask is needed only during construction.
  RunTable(MMemMgr manager, const PackedMask& mask);

  explicit operator bool() const { return rowFirst_ && edges_ && regions_; }

  // Finds the regions; returns how many there are.
  std::uint32_t join(Connectivity connectivity);

  std::int32_t height() const { return height_; }
  // Runs [rowBegin(y), rowEnd(y)) belong to row y.
  std::uint32_t rowBegin(std::int32_t y) const { return rowFirst_[y]; }
  std::uint32_t rowEnd(std::int32_t y) const { return rowFirst_[y + 1]; }
  Run run(std::uint32_t i) const { return {edges_[2 * i], edges_[2 * i + 1]}; }
  std::uint32_t region(std::uint32_t i) const { return regions_[i]; }

  // Calls visit(y, run, region) for every run.
  template <class Visit>
  void forEach(Visit&& visit) const {
    for (std::int32_t y = 0; y < height_; ++y) {
      for (std::uint32_t i = rowBegin(y); i < rowEnd(y); ++i) {
        visit(y, run(i), region(i));
      }
    }
  }

 private:
  void findRuns(const PackedMask& mask);
  void joinRows(std::int32_t y, std::uint32_t reach);

  std::int32_t height_;
  std::int64_t capacity_;
  Scratch<std::uint32_t> rowFirst_; // first run of each row, and the number of all
  Scratch<std::uint32_t> edges_;    // begin and end of each run
  // While runs are being joined, an earlier run of the same region, or the run itself.
  Scratch<std::uint32_t> regions_;
};

} // namespace tlux::detail

#pragma once

#include <cstdint>
#include <limits>

#include "chroma/chroma_row.hpp"
#include "tlux/image.h"

namespace tlux::detail {

// One plane as seen row by row: where row 0 starts, the distance to the next row, and the total
// number of bytes.
template <class T>
struct Track {
  T* data;
  std::int64_t step;
  std::int64_t bytes;

  T* row(std::int64_t j) const { return data + j * step; }
  // Whole pairs between the start of row j and the end.
  std::int64_t pairsFrom(std::int64_t j) const { return (bytes - j * step) / 2; }
};

// Writes chroma from the luma and chroma of a source and the luma of a result, row by row, without
// touching a byte past the end of any plane. Rows do not depend on each other.
class ChromaWalk {
 public:
  ChromaWalk(Track<const std::uint8_t> oldLuma, Track<const std::uint8_t> newLuma,
             Track<const std::uint8_t> chromaIn, Track<std::uint8_t> chromaOut, std::int64_t rows,
             std::int64_t pairs)
      : oldLuma_(oldLuma),
        newLuma_(newLuma),
        chromaIn_(chromaIn),
        chromaOut_(chromaOut),
        rows_(rows),
        pairs_(pairs),
        areRowsWhole_(rows > 0 && pairsWithin(rows - 1) >= pairs) {}

  static constexpr std::int64_t kAllColumns = std::numeric_limits<std::int64_t>::max();

  std::int64_t rows() const { return rows_; }
  bool hasSteps(std::int64_t oldLuma, std::int64_t newLuma, std::int64_t chromaIn,
                std::int64_t chromaOut) const {
    return oldLuma_.step == oldLuma && newLuma_.step == newLuma && chromaIn_.step == chromaIn &&
           chromaOut_.step == chromaOut;
  }
  void scaleRow(std::int64_t j) const { scaleColumns(j, 0, kAllColumns); }
  // The part of row j from `first` to `end`, both even.
  void scaleColumns(std::int64_t j, std::int64_t first, std::int64_t end) const;
  void scaleRows(std::int64_t first, std::int64_t end) const;

 private:
  // Whole pairs from the start of row j to the first end of a plane.
  std::int64_t pairsWithin(std::int64_t j) const;

  Track<const std::uint8_t> oldLuma_;
  Track<const std::uint8_t> newLuma_;
  Track<const std::uint8_t> chromaIn_;
  Track<std::uint8_t> chromaOut_;
  ScaleChromaRow scale_ = chromaRowScaler<kNeutralZone>();
  std::int64_t rows_;
  std::int64_t pairs_; // of a row
  bool areRowsWhole_;  // also the last, the shortest
};

// The walk over two frames. With equal pitches it is the walk of NV21NV12_Tone(), minus anything
// past the end of a plane. Otherwise each plane uses its own pitch.
ChromaWalk chromaWalk(const TLUX_IMAGE& source, const TLUX_IMAGE& output);

// Walks it.
void scaleChromaByLumaRatio(const TLUX_IMAGE& source, const TLUX_IMAGE& output);

// Whether the walk makes exactly row j of the chroma from row 2j of the luma: always when the
// pitches differ, and when they equal the width rounded up to a multiple of 4.
bool keepsToRows(const ChromaWalk& walk, const TLUX_IMAGE& source, const TLUX_IMAGE& output);

} // namespace tlux::detail

#include "enhance/adaptive_equalizer.hpp"

#include <algorithm>
#include <bit>

#include "base/fixed_point.hpp"
#include "enhance/histogram.hpp"
#include "platform/scratch.hpp"

namespace tlux::detail {
namespace {

constexpr std::int32_t kTileSize = 16;
constexpr std::int32_t kTilePixels = kTileSize * kTileSize;

struct Tile {
  std::int32_t x;
  std::int32_t y;
  std::int32_t width;
  std::int32_t height;
};

struct TileGrid {
  explicit TileGrid(const Plane<const std::uint8_t>& plane)
      : width(plane.width),
        height(plane.height),
        columns((std::int64_t{plane.width} + kTileSize - 1) / kTileSize),
        rows((std::int64_t{plane.height} + kTileSize - 1) / kTileSize) {}

  std::int64_t count() const { return columns * rows; }

  Tile at(std::int64_t index) const {
    const auto x = static_cast<std::int32_t>(index % columns * kTileSize);
    const auto y = static_cast<std::int32_t>(index / columns * kTileSize);
    return {x, y, std::min(width - x, kTileSize), std::min(height - y, kTileSize)};
  }

  std::int32_t width;
  std::int32_t height;
  std::int64_t columns;
  std::int64_t rows;
};

// The new level for every cumulative count of a tile with so many pixels. Most tiles have the same
// size, so the divisions are done once instead of for every level of every tile.
class LevelOfCount {
 public:
  const std::uint8_t* forPixels(std::int32_t pixels) {
    if (pixels != pixels_) {
      pixels_ = pixels;
      for (std::int32_t count = 0; count <= pixels; ++count) {
        const double share = static_cast<double>(count) / static_cast<double>(pixels);
        levels_[count] = saturatingTrunc<std::uint8_t>(share * 255.0);
      }
    }
    return levels_;
  }

 private:
  std::int32_t pixels_ = 0;
  std::uint8_t levels_[kTilePixels + 1] = {};
};

void buildTable(const Plane<const std::uint8_t>& in, const Tile& tile,
                const std::uint8_t* levelOfCount, std::uint8_t* table) {
  LaneHistogram<std::uint16_t, 2> histogram;
  for (std::int32_t y = tile.y; y < tile.y + tile.height; ++y) {
    histogram.add(in.row(y) + tile.x, static_cast<std::size_t>(tile.width));
  }
  std::size_t running = 0;
  for (int level = 0; level < kSampleLevels; ++level) {
    running += histogram.countOf(level);
    table[level] = levelOfCount[running];
  }
}

// The tables applied to one tile's samples.
struct TileTables {
  const std::uint8_t* own;
  const std::uint8_t* left;
  const std::uint8_t* right;
  const std::uint8_t* upper;
  const std::uint8_t* lower;
};

// Tables of the tile rows in use: above, current and below. The table of tile t is overwritten when
// that of t + 3 · columns is built.
class TableRing {
 public:
  TableRing(MMemMgr manager, const TileGrid& grid)
      : grid_(grid),
        size_(std::min<std::int64_t>(3, grid.rows) * grid.columns),
        tables_(manager, size_ * kSampleLevels) {}

  explicit operator bool() const { return static_cast<bool>(tables_); }

  std::uint8_t* tableOf(std::int64_t tile) const {
    return tables_.get() + tile % size_ * kSampleLevels;
  }

  // Neighbours are found by tile number alone, so they wrap from one tile row to the next, and the
  // lower neighbour ends one tile early. This is part of the operation's defined result.
  TileTables tablesAround(std::int64_t tile) const {
    const std::int64_t last = grid_.count() - 1;
    const bool hasUpper = tile >= grid_.columns;
    const bool hasLower = tile < last - grid_.columns;
    return {tableOf(tile), tableOf(tile != 0 ? tile - 1 : tile),
            tableOf(tile < last ? tile + 1 : tile), tableOf(hasUpper ? tile - grid_.columns : tile),
            tableOf(hasLower ? tile + grid_.columns : tile)};
  }

 private:
  TileGrid grid_;
  std::int64_t size_;
  Scratch<std::uint8_t> tables_;
};

// Blending in doubles, for any tile size.
void blendTileGeneral(const Plane<const std::uint8_t>& in, const Plane<std::uint8_t>& out,
                      const Tile& tile, const TileTables& tables) {
  for (std::int32_t r = 0; r < tile.height; ++r) {
    const std::uint8_t* samples = in.row(tile.y + r) + tile.x;
    std::uint8_t* blended = out.row(tile.y + r) + tile.x;
    for (std::int32_t c = 0; c < tile.width; ++c) {
      const std::uint8_t v = samples[c];
      const double across = c * tables.right[v] + (tile.width - c) * tables.left[v];
      const double down = r * tables.lower[v] + (tile.height - r) * tables.upper[v];
      const double sum = tables.own[v] + across / tile.width + down / tile.height;
      blended[c] = saturatingTrunc<std::uint8_t>(sum / 3.0);
    }
  }
}

// value / 3 by multiplication.
constexpr std::uint16_t thirdOf(std::uint16_t value) {
  return static_cast<std::uint16_t>((value * 21846u) >> 16);
}

static_assert([] {
  bool isExact = true;
  for (std::uint16_t value = 0; value <= 3 * 255; ++value) {
    isExact = isExact && thirdOf(value) == value / 3;
  }
  return isExact;
}());

// Blending in integers, for tiles whose width and height are powers of two: nearly all.
//
// The quotients by width and height are then exact in doubles, and so is their sum, a multiple of
// 1/16. The last quotient is the correctly rounded n / 48 with n = 16 times the sum, an integer of
// at most 3 · 16 · 255. Unless it is an integer itself, n / 48 is at least 1/48 from the next one,
// which rounding cannot bridge, so truncating gives floor(n / 48) = floor(floor(n / 16) / 3).
class TileBlender {
 public:
  explicit TileBlender(const TileTables& tables) {
    for (int v = 0; v < kSampleLevels; ++v) {
      const int fixed = tables.own[v] + tables.left[v] + tables.upper[v];
      fixed_[v] = static_cast<std::int16_t>(kTileSize * fixed);
      across_[v] = static_cast<std::int16_t>(tables.right[v] - tables.left[v]);
      down_[v] = static_cast<std::int16_t>(tables.lower[v] - tables.upper[v]);
    }
  }

  static bool handles(const Tile& tile) {
    return std::has_single_bit(static_cast<std::uint32_t>(tile.width)) &&
           std::has_single_bit(static_cast<std::uint32_t>(tile.height));
  }

  void blend(const Plane<const std::uint8_t>& in, const Plane<std::uint8_t>& out,
             const Tile& tile) const {
    const std::int32_t columnStep = kTileSize / tile.width;
    const std::int32_t rowStep = kTileSize / tile.height;
    for (std::int32_t r = 0; r < tile.height; ++r) {
      blendRow(in.row(tile.y + r) + tile.x, tile.width, columnStep,
               static_cast<std::int16_t>(r * rowStep), out.row(tile.y + r) + tile.x);
    }
  }

 private:
  void blendRow(const std::uint8_t* samples, std::int32_t width, std::int32_t columnStep,
                std::int16_t rowWeight, std::uint8_t* blended) const {
    std::int16_t fixed[kTileSize];
    std::int16_t across[kTileSize];
    std::int16_t down[kTileSize];
    for (std::int32_t c = 0; c < width; ++c) {
      const std::uint8_t v = samples[c];
      fixed[c] = fixed_[v];
      across[c] = across_[v];
      down[c] = down_[v];
    }
    for (std::int32_t c = 0; c < width; ++c) {
      const auto weight = static_cast<std::int16_t>(c * columnStep);
      const auto n =
          static_cast<std::uint16_t>(fixed[c] + weight * across[c] + rowWeight * down[c]);
      blended[c] = static_cast<std::uint8_t>(thirdOf(static_cast<std::uint16_t>(n >> 4)));
    }
  }

  std::int16_t fixed_[kSampleLevels]; // times 16
  std::int16_t across_[kSampleLevels];
  std::int16_t down_[kSampleLevels];
};

void blendTile(const Plane<const std::uint8_t>& in, const Plane<std::uint8_t>& out,
               const Tile& tile, const TileTables& tables) {
  if (TileBlender::handles(tile)) {
    TileBlender(tables).blend(in, out, tile);
  } else {
    blendTileGeneral(in, out, tile, tables);
  }
}

} // namespace

Result equalizeByTiles(MMemMgr manager, const Plane<const std::uint8_t>& in,
                       const Plane<std::uint8_t>& out) {
  const TileGrid grid(in);
  const TableRing ring(manager, grid);
  if (!ring) return Result::kNoMemory;

  LevelOfCount levels;
  std::int64_t built = 0;
  for (std::int64_t row = 0; row < grid.rows; ++row) {
    // The tables of the row below are built first: in place, their samples would be overwritten.
    const std::int64_t needed = std::min(row + 2, grid.rows) * grid.columns;
    for (; built < needed; ++built) {
      const Tile tile = grid.at(built);
      buildTable(in, tile, levels.forPixels(tile.width * tile.height), ring.tableOf(built));
    }
    for (std::int64_t i = row * grid.columns; i < (row + 1) * grid.columns; ++i) {
      blendTile(in, out, grid.at(i), ring.tablesAround(i));
    }
  }
  return Result::kOk;
}

} // namespace tlux::detail

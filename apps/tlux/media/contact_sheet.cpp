#include "media/contact_sheet.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "media/color_profile.hpp"
#include "media/text.hpp"

namespace tlux::app {

namespace {

constexpr uint8_t kBackground = 36;
constexpr size_t kRgbBytes = 3;

/** Positions and sizes in pixels. */
struct Layout {
  int columns;
  int rows;
  int margin;     // around and between the tiles
  int textSize;   // of the labels
  int cellWidth;  // of a tile, or of its label if wider
  int cellHeight; // of a tile with its label
  int tileHeight;

  int width() const { return margin + columns * (cellWidth + margin); }
  int height() const { return margin + rows * (cellHeight + margin); }
  int left(size_t tile) const {
    return margin + static_cast<int>(tile) % columns * (cellWidth + margin);
  }
  int top(size_t tile) const {
    return margin + static_cast<int>(tile) / columns * (cellHeight + margin);
  }
  int labelTop(size_t tile) const { return top(tile) + tileHeight + textSize / 2; }
};

int rowsFor(int tiles, int columns) {
  return (tiles + columns - 1) / columns;
}

/** The number of columns that gives a sheet closest to 3:2 with few empty cells. */
int chooseColumns(int tiles, double tileAspect) {
  constexpr double kAspect = 1.5;
  int best = 1;
  double bestCost = std::numeric_limits<double>::max();
  for (int columns = 1; columns <= tiles; ++columns) {
    const int rows = rowsFor(tiles, columns);
    const double share = double{1} * (rows * columns - tiles) / tiles;
    const double cost = std::abs(std::log(tileAspect * columns / rows / kAspect)) + share;
    // Of two equally good ones, prefer the wider.
    if (cost > bestCost + 1e-3) continue;
    best = columns;
    bestCost = cost;
  }
  return best;
}

Layout planLayout(const std::vector<Tile>& tiles, int columns) {
  const AVFrame& picture = *tiles.front().picture;
  const auto count = static_cast<int>(tiles.size());
  size_t longest = 0;
  for (const Tile& tile : tiles) {
    longest = std::max(longest, tile.label.size());
  }
  Layout layout = {};
  layout.columns = columns > 0 ? std::min(columns, count)
                               : chooseColumns(count, double{1} * picture.width / picture.height);
  layout.rows = rowsFor(count, layout.columns);
  layout.margin = std::clamp(picture.width / 40, 8, 48);
  layout.textSize = std::clamp(picture.width / 32, 14, 64);
  layout.tileHeight = picture.height;
  layout.cellWidth = std::max(picture.width, textWidth(longest, layout.textSize));
  layout.cellHeight = picture.height + 2 * layout.textSize;
  return layout;
}

FramePtr makeBackground(int width, int height) {
  FramePtr sheet = makeFrame(AV_PIX_FMT_RGB24, width, height);
  for (int y = 0; y < height; ++y) {
    std::memset(sheet->data[0] + ptrdiff_t{y} * sheet->linesize[0], kBackground,
                kRgbBytes * static_cast<size_t>(width));
  }
  return sheet;
}

void place(const AVFrame& picture, AVFrame& sheet, int left, int top) {
  for (int y = 0; y < picture.height; ++y) {
    std::memcpy(sheet.data[0] + ptrdiff_t{top + y} * sheet.linesize[0] + kRgbBytes * left,
                picture.data[0] + ptrdiff_t{y} * picture.linesize[0],
                kRgbBytes * static_cast<size_t>(picture.width));
  }
}

} // namespace

FramePtr makeContactSheet(const std::vector<Tile>& tiles, int columns) {
  const Layout layout = planLayout(tiles, columns);
  const FramePtr sheet = makeBackground(layout.width(), layout.height());
  std::vector<Label> labels;
  for (size_t i = 0; i < tiles.size(); ++i) {
    place(*tiles[i].picture, *sheet, layout.left(i), layout.top(i));
    labels.push_back({tiles[i].label, layout.left(i), layout.labelTop(i)});
  }
  FramePtr labelled = drawLabels(*sheet, labels, {.size = layout.textSize, .hasBox = false});
  copyColorProfile(*tiles.front().picture, *labelled);
  return labelled;
}

} // namespace tlux::app

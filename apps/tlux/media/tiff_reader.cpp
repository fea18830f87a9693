#include "media/tiff_reader.hpp"

extern "C" {
#include <libavutil/pixdesc.h>
}

#include <fmt/format.h>
#include <tiffio.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "media/display_color.hpp"

namespace tlux::app {

namespace {

// One per thread, since several files may be processed at once.
thread_local std::string lastError;

void rememberError(const char* /*module*/, const char* format, va_list arguments) {
  char text[256] = "";
  std::vsnprintf(text, sizeof text, format, arguments);
  lastError = text;
}

[[noreturn]] void fail() {
  throw std::runtime_error("cannot be decoded: " + lastError);
}

/** A file in memory and the position of the next read. */
struct Source {
  std::span<const uint8_t> content;
  size_t position = 0;

  static Source& of(thandle_t handle) { return *static_cast<Source*>(handle); }

  static tmsize_t read(thandle_t handle, void* target, tmsize_t size) {
    Source& source = of(handle);
    const size_t rest = source.content.size() - std::min(source.position, source.content.size());
    const size_t count = std::min(rest, static_cast<size_t>(size));
    if (count > 0) std::memcpy(target, source.content.data() + source.position, count);
    source.position += count;
    return static_cast<tmsize_t>(count);
  }
  static tmsize_t write(thandle_t /*handle*/, void* /*data*/, tmsize_t /*size*/) { return 0; }
  static toff_t seek(thandle_t handle, toff_t offset, int whence) {
    Source& source = of(handle);
    const size_t base = whence == SEEK_CUR   ? source.position
                        : whence == SEEK_END ? source.content.size()
                                             : 0;
    return source.position = base + static_cast<size_t>(offset);
  }
  static int close(thandle_t /*handle*/) { return 0; }
  static toff_t size(thandle_t handle) { return of(handle).content.size(); }
};

struct CloseTiff {
  void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using TiffPtr = std::unique_ptr<TIFF, CloseTiff>;

TiffPtr open(Source& source) {
  static const bool isQuiet = [] {
    TIFFSetErrorHandler(rememberError);
    TIFFSetWarningHandler(nullptr);
    return true;
  }();
  static_cast<void>(isQuiet);
  lastError = "it is damaged";
  // "m": no memory mapping. "C": large strips may be split.
  TiffPtr tiff(TIFFClientOpen("", "rmC", &source, Source::read, Source::write, Source::seek,
                              Source::close, Source::size, nullptr, nullptr));
  if (tiff == nullptr) fail();
  return tiff;
}

template <typename T>
T field(TIFF& tiff, ttag_t tag, T fallback) {
  T value = fallback;
  return TIFFGetFieldDefaulted(&tiff, tag, &value) == 1 ? value : fallback;
}

/** Whether the page is neither a smaller copy of another page nor a mask. */
bool isFullPage(TIFF& tiff) {
  const auto kind = field<uint32_t>(tiff, TIFFTAG_SUBFILETYPE, 0);
  return (kind & (FILETYPE_REDUCEDIMAGE | FILETYPE_MASK)) == 0;
}

/** Selects the first full page; returns how many there are. */
int chooseFullPage(TIFF& tiff) {
  int count = 0;
  tdir_t first = 0;
  do {
    if (isFullPage(tiff) && count++ == 0) first = TIFFCurrentDirectory(&tiff);
  } while (TIFFReadDirectory(&tiff) == 1);
  if (count == 0) {
    throw std::runtime_error("contains only a preview, as raw camera photos do; develop it first");
  }
  if (TIFFSetDirectory(&tiff, first) == 0) fail();
  return count;
}

/** The sample layout of a page. */
struct Page {
  int width;
  int height;
  int bits;    // of a sample
  int samples; // of a pixel
  int format;  // of a sample, libtiff's number
  int photometric;
  bool hasAlpha;
  bool isSeparate; // a plane for each sample

  int colors() const {
    switch (photometric) {
      case PHOTOMETRIC_MINISBLACK:
        return 1;
      case PHOTOMETRIC_RGB:
        return 3;
      case PHOTOMETRIC_SEPARATED:
        return 4;
      default:
        return 0;
    }
  }

  /** Whether the samples are used directly; libtiff converts all others to 8-bit RGB. */
  bool isPlain() const {
    const bool isWhole = format == SAMPLEFORMAT_UINT && (bits == 8 || bits == 16);
    return (isWhole || (isFloat() && bits == 32)) && colors() > 0 && samples >= colors();
  }

  bool isFloat() const { return format == SAMPLEFORMAT_IEEEFP; }
  size_t sampleBytes() const { return static_cast<size_t>(bits) / 8; }
  size_t pixelBytes() const { return sampleBytes() * static_cast<size_t>(samples); }
};

int side(TIFF& tiff, ttag_t tag, int most) {
  const auto value = field<uint32_t>(tiff, tag, 0);
  return static_cast<int>(std::min(value, static_cast<uint32_t>(most)));
}

Page describePage(TIFF& tiff) {
  constexpr int kMostSamples = 64;
  Page page = {};
  page.width = side(tiff, TIFFTAG_IMAGEWIDTH, INT32_MAX);
  page.height = side(tiff, TIFFTAG_IMAGELENGTH, INT32_MAX);
  page.bits = field<uint16_t>(tiff, TIFFTAG_BITSPERSAMPLE, 1);
  page.samples = field<uint16_t>(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
  page.format = field<uint16_t>(tiff, TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT);
  page.photometric = field<uint16_t>(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
  page.isSeparate =
      field<uint16_t>(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) == PLANARCONFIG_SEPARATE;
  uint16_t extraSamples = 0;
  const uint16_t* kinds = nullptr;
  TIFFGetFieldDefaulted(&tiff, TIFFTAG_EXTRASAMPLES, &extraSamples, &kinds);
  page.hasAlpha =
      extraSamples > 0 && kinds[0] != EXTRASAMPLE_UNSPECIFIED && page.samples > page.colors();
  checkPictureSize(page.width, page.height);
  if (page.samples > kMostSamples) throw std::runtime_error("has too many samples per pixel");
  return page;
}

/** A strip or tile of the page; of one sample if the samples are in planes. */
struct Block {
  uint32_t index; // libtiff's
  int left;
  int top;
  int width; // of its rows; the last ones may extend past the page
  int height;
  int sample;
};

std::vector<Block> blocksOf(TIFF& tiff, const Page& page) {
  const bool isTiled = TIFFIsTiled(&tiff) != 0;
  const int width = isTiled ? side(tiff, TIFFTAG_TILEWIDTH, INT32_MAX) : page.width;
  const int height = isTiled ? side(tiff, TIFFTAG_TILELENGTH, INT32_MAX)
                             : side(tiff, TIFFTAG_ROWSPERSTRIP, page.height);
  if (width <= 0 || height <= 0) fail();
  std::vector<Block> blocks;
  for (int sample = 0; sample < (page.isSeparate ? page.samples : 1); ++sample) {
    for (int64_t top = 0; top < page.height; top += height) {
      for (int64_t left = 0; left < page.width; left += width) {
        const auto x = static_cast<uint32_t>(left);
        const auto y = static_cast<uint32_t>(top);
        const auto s = static_cast<uint16_t>(sample);
        blocks.push_back(
            {isTiled ? TIFFComputeTile(&tiff, x, y, 0, s) : TIFFComputeStrip(&tiff, y, s),
             static_cast<int>(left), static_cast<int>(top), width, height, sample});
      }
    }
  }
  return blocks;
}

/** The samples of a page, in pixel and row order. */
std::vector<uint8_t> readSamples(TIFF& tiff, const Page& page) {
  const size_t pixelBytes = page.pixelBytes();
  const auto rowBytes = pixelBytes * static_cast<size_t>(page.width);
  std::vector<uint8_t> samples(rowBytes * static_cast<size_t>(page.height));
  const bool isTiled = TIFFIsTiled(&tiff) != 0;
  const tmsize_t size = isTiled ? TIFFTileSize(&tiff) : TIFFStripSize(&tiff);
  const size_t element = page.isSeparate ? page.sampleBytes() : pixelBytes;
  if (size <= 0) fail();
  std::vector<uint8_t> buffer(static_cast<size_t>(size));
  for (const Block& block : blocksOf(tiff, page)) {
    const int rows = std::min(block.height, page.height - block.top);
    const int columns = std::min(block.width, page.width - block.left);
    const size_t blockRow = element * static_cast<size_t>(block.width);
    if (blockRow * static_cast<size_t>(rows) > buffer.size()) fail();
    const tmsize_t read = isTiled ? TIFFReadEncodedTile(&tiff, block.index, buffer.data(), size)
                                  : TIFFReadEncodedStrip(&tiff, block.index, buffer.data(), size);
    if (read < static_cast<tmsize_t>(blockRow * static_cast<size_t>(rows))) fail();
    for (int y = 0; y < rows; ++y) {
      const uint8_t* from = buffer.data() + blockRow * static_cast<size_t>(y);
      uint8_t* to = samples.data() + rowBytes * static_cast<size_t>(block.top + y) +
                    pixelBytes * static_cast<size_t>(block.left) +
                    (page.isSeparate ? element * static_cast<size_t>(block.sample) : 0);
      if (!page.isSeparate) {
        std::memcpy(to, from, element * static_cast<size_t>(columns));
        continue;
      }
      for (int x = 0; x < columns; ++x, from += element, to += pixelBytes) {
        std::memcpy(to, from, element);
      }
    }
  }
  return samples;
}

AVPixelFormat layoutFor(const Page& page) {
  const bool isGray = page.colors() == 1;
  if (page.isFloat()) {
    if (isGray) return AV_PIX_FMT_GRAYF32;
    return page.hasAlpha ? AV_PIX_FMT_GBRAPF32 : AV_PIX_FMT_GBRPF32;
  }
  const bool isDeep = page.bits == 16;
  if (isGray && page.hasAlpha) return isDeep ? AV_PIX_FMT_YA16 : AV_PIX_FMT_YA8;
  if (isGray) return isDeep ? AV_PIX_FMT_GRAY16 : AV_PIX_FMT_GRAY8;
  if (page.hasAlpha) return isDeep ? AV_PIX_FMT_RGBA64 : AV_PIX_FMT_RGBA;
  return isDeep ? AV_PIX_FMT_RGB48 : AV_PIX_FMT_RGB24;
}

FramePtr toFrame(const Page& page, const std::vector<uint8_t>& samples) {
  FramePtr frame = makeFrame(layoutFor(page), page.width, page.height);
  const AVPixFmtDescriptor& layout =
      *av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame->format));
  const auto sampleBytes = page.sampleBytes();
  const uint8_t* from = samples.data();
  for (int y = 0; y < page.height;
       ++y, from += page.pixelBytes() * static_cast<size_t>(page.width)) {
    for (int component = 0; component < layout.nb_components; ++component) {
      const AVComponentDescriptor& place = layout.comp[component];
      const uint8_t* sample = from + sampleBytes * static_cast<size_t>(component);
      uint8_t* to =
          frame->data[place.plane] + ptrdiff_t{y} * frame->linesize[place.plane] + place.offset;
      for (int x = 0; x < page.width; ++x, sample += page.pixelBytes(), to += place.step) {
        std::memcpy(to, sample, sampleBytes);
      }
    }
  }
  return frame;
}

/** Everything that libtiff can convert: palettes, bits, YCbCr, Lab and more. */
FramePtr readByLibrary(TIFF& tiff, const Page& page) {
  FramePtr frame = makeFrame();
  frame->format = AV_PIX_FMT_BGR32; // red in the lowest byte of a word
  frame->width = page.width;
  frame->height = page.height;
  check(av_frame_get_buffer(frame.get(), 1));
  const auto pixels = static_cast<size_t>(page.width) * static_cast<size_t>(page.height);
  std::vector<uint32_t> raster(pixels);
  // In the orientation of the file: rotation happens later.
  const int orientation = field<uint16_t>(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
  if (TIFFReadRGBAImageOriented(&tiff, static_cast<uint32_t>(page.width),
                                static_cast<uint32_t>(page.height), raster.data(), orientation,
                                1) == 0) {
    fail();
  }
  for (int y = 0; y < page.height; ++y) {
    std::memcpy(frame->data[0] + ptrdiff_t{y} * frame->linesize[0],
                raster.data() + static_cast<size_t>(y) * static_cast<size_t>(page.width),
                static_cast<size_t>(page.width) * sizeof(uint32_t));
  }
  return frame;
}

std::span<const uint8_t> profileOf(TIFF& tiff) {
  uint32_t size = 0;
  const uint8_t* data = nullptr;
  if (TIFFGetField(&tiff, TIFFTAG_ICCPROFILE, &size, &data) != 1) return {};
  return {data, size};
}

FramePtr readPlain(TIFF& tiff, const Page& page, DecodedPicture& picture) {
  const std::vector<uint8_t> samples = readSamples(tiff, page);
  if (page.colors() != 4) return toFrame(page, samples);
  if (page.isFloat()) throw std::runtime_error("floating-point CMYK is not supported");
  const std::span<const uint8_t> profile = profileOf(tiff);
  if (profile.empty()) picture.remarks.emplace_back(kNoInkProfile);
  return inkToRgb(
      {samples.data(), page.width, page.height, page.bits / 8, page.pixelBytes(), false, profile});
}

} // namespace

DecodedPicture readTiff(std::span<const uint8_t> content) {
  Source source = {content};
  const TiffPtr tiff = open(source);
  const int pages = chooseFullPage(*tiff);
  const uint8_t* dngVersion = nullptr;
  if (TIFFGetField(tiff.get(), TIFFTAG_DNGVERSION, &dngVersion) == 1) {
    throw std::runtime_error("is a raw camera photo; develop it first");
  }
  const Page page = describePage(*tiff);
  DecodedPicture picture;
  picture.frame = page.isPlain() ? readPlain(*tiff, page, picture) : readByLibrary(*tiff, page);
  if (pages > 1) {
    picture.remarks.push_back(fmt::format("it has {} pages; only the first is used", pages));
  }
  setOrientation(*picture.frame, field<uint16_t>(*tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT));
  if (page.colors() != 4) {
    const std::span<const uint8_t> profile = profileOf(*tiff);
    setColorProfile(*picture.frame, profile.data(), profile.size());
  }
  return picture;
}

} // namespace tlux::app

#include "explain/stages.hpp"

#include <algorithm>
#include <cstddef>
#include <new>

#include "library_result.hpp"
#include "media/semi_planar.hpp"

namespace tlux::app {

namespace {

constexpr int32_t kReduction = 8; // from a frame to its reference frame
constexpr int32_t kUnity = 1024;  // Q10
constexpr int32_t kRadius = 16;
constexpr int32_t kRegularisation = 20;
constexpr int64_t kMaxLinear = 4095;

int32_t referenceSide(int32_t side) {
  return side / (2 * kReduction) * 2;
}

uint64_t pixelsOf(const TLUX_IMAGE& image) {
  return static_cast<uint64_t>(image.width) * static_cast<uint64_t>(image.height);
}

void* allocate(MMemMgr pool, uint64_t bytes) {
  void* block = MMemAlloc(pool, bytes);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

/** Lifted in linear light; or, below unity, the inverted code by the reciprocal gain. */
uint8_t mapCode(uint8_t code, int32_t gain) {
  const bool lifts = gain >= kUnity;
  const int64_t factor = lifts ? gain : kUnity * kUnity / std::max(gain, 1);
  const uint8_t inversion = lifts ? 0 : 255;
  const int64_t linear = factor * TLUX_Degamma_Table[code ^ inversion] / kUnity;
  return TLUX_Gamma_Table8[std::min(linear, kMaxLinear)] ^ inversion;
}

} // namespace

const std::array<Stage, 8> kStages = {{
    {"Reference frame", "reduces the frame by 8", "TLUX_ScaleCropImage", &Stages::reduce},
    {"Copy", "copies the frame to the output", "TLUX_CopyImage_IMK", &Stages::copy},
    {"Score", "compares each reference pixel with its surroundings", "AME_GenerateRetinexLogGain",
     &Stages::score},
    {"Gain table", "turns the strength into a gain for every score", "TLUX_TonemapGainLUT",
     &Stages::fillGains},
    {"Mapping", "applies the gains to the reference luma in linear light",
     "TLUX_Degamma_Table, TLUX_Gamma_Table8", &Stages::mapReference},
    {"Guided filter", "carries the mapped luma to full size along edges", "FastGuideFilterMT",
     &Stages::filter},
    {"Chroma", "lets the colours follow the luma", "NV21NV12_Tone", &Stages::scaleChroma},
    {"Mark", "blends the mark into the lower right corner", "TLUX_EmbeddedMark", &Stages::mark},
}};

Stages::Stages(MMemMgr pool, const AVFrame& source, AVFrame& output, uint32_t strength)
    : pool_(pool), source_(imageOf(source)), output_(imageOf(output)), strength_(strength) {
  checkResult(TLUX_Init(pool, &engine_));
  engine_->source = &source_;
  engine_->srcWidth = source_.width;
  engine_->srcHeight = source_.height;
  engine_->refWidth = referenceSide(source_.width);
  engine_->refHeight = referenceSide(source_.height);
  engine_->refScale = kReduction;
}

Stages::~Stages() {
  MMemFree(pool_, mapped_);
  TLUX_Uninit(pool_, engine_);
}

void Stages::reduce() {
  checkResult(TLUX_CreateImage_IMK(&engine_->images[0], engine_->refWidth, engine_->refHeight,
                                   TLUX_FMT_YCBCR444_P, pool_));
  checkResult(TLUX_ScaleCropImage(&source_, engine_->images[0], nullptr, kReduction));
}

void Stages::copy() {
  checkResult(TLUX_CopyImage_IMK(&output_, &source_));
}

void Stages::score() {
  const TLUX_IMAGE& reference = *engine_->images[0];
  const uint64_t bytes = pixelsOf(reference) * sizeof(int16_t);
  engine_->logGainMap = static_cast<uint16_t*>(allocate(pool_, bytes));
  auto* light = static_cast<int16_t*>(allocate(pool_, bytes));
  for (int32_t y = 0; y < reference.height; ++y) {
    const uint8_t* row = reference.plane[0] + ptrdiff_t{y} * reference.pitch[0];
    std::transform(row, row + reference.width, light + ptrdiff_t{y} * reference.width,
                   [](uint8_t code) { return static_cast<int16_t>(TLUX_Degamma_Table[code]); });
  }
  const uint32_t result = AME_GenerateRetinexLogGain(pool_, nullptr, light, reference.width,
                                                     reference.height, engine_->logGainMap);
  MMemFree(pool_, light);
  checkResult(result);
}

void Stages::fillGains() {
  checkResult(TLUX_TonemapGainLUT(pool_, engine_, strength_));
}

void Stages::mapReference() {
  const TLUX_IMAGE& reference = *engine_->images[0];
  const ptrdiff_t pitch = reference.pitch[0];
  mapped_ = static_cast<uint8_t*>(allocate(pool_, static_cast<uint64_t>(pitch * reference.height)));
  const uint16_t* scores = engine_->logGainMap;
  for (int32_t y = 0; y < reference.height; ++y) {
    for (int32_t x = 0; x < reference.width; ++x) {
      mapped_[y * pitch + x] =
          mapCode(reference.plane[0][y * pitch + x], engine_->gainLut[*scores++]);
    }
  }
}

void Stages::filter() {
  const TLUX_IMAGE& reference = *engine_->images[0];
  checkResult(FastGuideFilterMT(pool_, mapped_, reference.plane[0], source_.plane[0],
                                output_.plane[0], reference.width, reference.height,
                                reference.pitch[0], output_.pitch[0], kRadius, kRegularisation));
}

void Stages::scaleChroma() {
  NV21NV12_Tone(source_.plane[0], source_.plane[1], output_.plane[0], output_.plane[1],
                output_.height, output_.width, output_.pitch[0]);
}

void Stages::mark() {
  TLUX_EmbeddedMark(&output_);
}

} // namespace tlux::app

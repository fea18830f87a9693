// The guided filter with windows of (2r + 1) × (2r + 1), cut at the edges.
#pragma once

#include <cstdint>

#include "base/plane_checks.hpp"
#include "base/result.hpp"
#include "filter/guided_filter.hpp"

// Guided filters on bare planes.
namespace tlux::detail {

inline ByteRows rowsOf(Plane<const std::uint8_t> plane) {
  return {nullptr, plane.data, plane.pitch};
}
inline WritableRows writableRowsOf(Plane<std::uint8_t> plane) {
  return {nullptr, plane.data, plane.pitch};
}

struct Smoothing {
  std::int32_t radius;
  std::int32_t epsilon;

  bool isValid() const { return radius >= 0 && epsilon >= 1; }
};

// Planes of one size, with as many samples per pixel as the model has guides and inputs.
struct GuidedPlanes {
  Plane<const std::uint8_t> guide;
  Plane<const std::uint8_t> input;
  Plane<std::uint8_t> output;
};

template <class Model>
bool isFilterable(const GuidedPlanes& planes, Smoothing smoothing) {
  return isPlane(planes.guide, Model::kGuides) && isPlane(planes.input, Model::kInputs) &&
         isPlane(planes.output, Model::kInputs) && smoothing.isValid();
}

template <class Model>
Model modelOf(Smoothing smoothing) {
  Model model;
  model.epsilon = smoothing.epsilon;
  return model;
}

// Returns a result code; see TLUX_GuidedFilter1D().
template <class Model>
Result filterGuided(MMemMgr manager, const GuidedPlanes& planes, Smoothing smoothing) {
  if (!isFilterable<Model>(planes, smoothing)) return Result::kInvalidParam;
  const std::int32_t width = planes.output.width;
  const std::int32_t height = planes.output.height;
  if (isEmpty(width, height)) return Result::kOk;
  const Windows windows(width, height, smoothing.radius);
  const GuidedFilter<Model> filter(manager, windows);
  if (!filter) return Result::kNoMemory;
  filter.run({rowsOf(planes.guide), rowsOf(planes.input), writableRowsOf(planes.output)}, windows,
             {0, 0, width, height}, modelOf<Model>(smoothing));
  return Result::kOk;
}

} // namespace tlux::detail

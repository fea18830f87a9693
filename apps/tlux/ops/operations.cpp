#include <array>

#include "ops/operation.hpp"

namespace tlux::app {

std::span<const Operation* const> operations() {
  static constexpr std::array kOperations = {
      &kReduce, &kResize,  &kFlip,     &kBlur,     &kGauss, &kBilateral,
      &kGuided, &kSharpen, &kContrast, &kEqualize, &kMatch, &kErode,
      &kDilate, &kFill,    &kClean,    &kOutline,  &kLabel};
  return kOperations;
}

} // namespace tlux::app

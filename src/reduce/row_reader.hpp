#pragma once

#include <cstdint>

#include "reduce/row_kernels.hpp"

namespace tlux::detail {

// Makes `outputs` outputs from rows of which `available` bytes may be read. Chroma samples beyond
// them repeat the last one. `next` are the rows needed next.
void reduceRow(const RowKernel& kernel, const SourceRows& rows, const SourceRows& next,
               std::int64_t available, std::uint8_t* first, std::uint8_t* second,
               std::int64_t outputs);

} // namespace tlux::detail

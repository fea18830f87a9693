#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "support/fault_injection.hpp"
#include "tlux/platform.h"

namespace tlux::test {

// A memory pool of this many bytes, initially filled with non-zero values.
class Pool {
 public:
  explicit Pool(std::size_t bytes)
      : memory_(bytes / 8 + 1, ~std::uint64_t{0}),
        manager_(MMemMgrCreate(memory_.data(), bytes)),
        whole_(largestFree()) {}

  operator MMemMgr() const { return manager_; }
  std::uint8_t* data() { return reinterpret_cast<std::uint8_t*>(memory_.data()); }
  std::int64_t largestFree() const { return GetMaxAllocMemSize(manager_); }
  // Whether all of it is free again.
  bool isWhole() const { return largestFree() == whole_; }

 private:
  std::vector<std::uint64_t> memory_;
  MMemMgr manager_;
  std::int64_t whole_;
};

// Whether call(manager) takes all its memory from the given pool and releases it.
template <class Call>
void expectLivesInPool(std::size_t bytes, Call&& call) {
  const Pool pool(bytes);
  const long asked = allocationCount();
  EXPECT_EQ(call(pool), TLUX_OK);
  EXPECT_EQ(allocationCount(), asked);
  EXPECT_TRUE(pool.isWhole());
}

} // namespace tlux::test

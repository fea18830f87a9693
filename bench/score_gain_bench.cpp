#include <benchmark/benchmark.h>

#include <cstdint>
#include <vector>

#include "tlux.h"

namespace {

// Linear light of a soft gradient with texture.
std::vector<std::int16_t> linearLuma(int width, int height) {
  std::vector<std::int16_t> plane;
  std::uint32_t noise = 1;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      noise = noise * 1664525u + 1013904223u;
      plane.push_back(
          static_cast<std::int16_t>((x * 3000 / width + y * 900 / height) + (noise >> 25)));
    }
  }
  return plane;
}

void setPixels(benchmark::State& state) {
  state.SetItemsProcessed(state.iterations() * state.range(0) * state.range(1));
}

void retinexScore(benchmark::State& state) {
  const auto width = static_cast<int>(state.range(0));
  const auto height = static_cast<int>(state.range(1));
  const auto linear = linearLuma(width, height);
  std::vector<std::int16_t> log(linear.size());
  std::vector<std::uint16_t> scores(linear.size());
  for (auto _ : state) {
    MMemCpy(log.data(), linear.data(), linear.size() * sizeof(log[0]));
    AME_GenerateRetinexLogGain(nullptr, nullptr, log.data(), width, height, scores.data());
    benchmark::DoNotOptimize(scores.data());
  }
  setPixels(state);
}
BENCHMARK(retinexScore)->Name("RetinexScore")->Args({240, 134})->Args({500, 374});

void pyramid(benchmark::State& state) {
  const auto width = static_cast<int>(state.range(0));
  const auto height = static_cast<int>(state.range(1));
  const auto plane = linearLuma(width, height);
  std::vector<std::int16_t> base(plane.size());
  std::vector<std::int16_t> scratch(plane.size() / 2);
  for (auto _ : state) {
    AME_PyramidFilter(nullptr, nullptr, plane.data(), width, height, base.data(), width, height,
                      scratch.data(), static_cast<int>(scratch.size()));
    benchmark::DoNotOptimize(base.data());
  }
  setPixels(state);
}
BENCHMARK(pyramid)->Name("Pyramid")->Args({240, 134})->Args({500, 374});

void gainTable(benchmark::State& state) {
  std::vector<std::uint16_t> table(65536);
  for (auto _ : state) {
    AME_GenerateFillLighrGainLUT(table.data(), state.range(0), 1024);
    benchmark::DoNotOptimize(table.data());
  }
}
BENCHMARK(gainTable)->Name("GainTable")->Arg(50);

void lineTone(benchmark::State& state) {
  const int width = 1920;
  std::vector<std::uint8_t> luma(width, 90);
  std::vector<std::uint8_t> chroma(width, 110);
  std::vector<std::uint16_t> gains(width);
  for (int x = 0; x < width; ++x) {
    gains[static_cast<std::size_t>(x)] = static_cast<std::uint16_t>(600 + x);
  }
  for (auto _ : state) {
    AME_NV21NV12_LineTone(0, luma.data(), chroma.data(), width, gains.data(), TLUX_Degamma_Table,
                          TLUX_Gamma_Table8);
    benchmark::DoNotOptimize(luma.data());
  }
  state.SetItemsProcessed(state.iterations() * width);
}
BENCHMARK(lineTone)->Name("LineTone");

} // namespace

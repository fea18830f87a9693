#pragma once

#include <CLI/CLI.hpp>

#include <optional>
#include <string>
#include <string_view>

namespace tlux::app {

inline constexpr int kLargestSide = 65534;

struct Size {
  int width = 0;
  int height = 0;

  bool isEmpty() const { return width == 0; }
};

/** Parses "WIDTHxHEIGHT" with sides of 1 to kLargestSide; nothing for any other text. */
std::optional<Size> parseSize(std::string_view text);

/** An option that takes "WIDTHxHEIGHT"; the parser refuses anything else. */
CLI::Option* addSizeOption(CLI::App& parser, const std::string& name, Size& size,
                           const std::string& help);

/** The same for camera frames, whose sides are even. */
CLI::Option* addFrameSizeOption(CLI::App& parser, const std::string& name, Size& size,
                                const std::string& help);

} // namespace tlux::app

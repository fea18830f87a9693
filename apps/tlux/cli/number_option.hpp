#pragma once

#include <CLI/CLI.hpp>

#include <fmt/format.h>

#include <string>

namespace tlux::app {

/** An option that takes a number of @p least to @p most; the value it finds is its default. */
template <typename T>
CLI::Option* addNumber(CLI::App& parser, const std::string& names, T& value, T least, T most,
                       const std::string& help) {
  return parser.add_option(names, value, help)
      ->check(CLI::Range(least, most).description(""))
      ->type_name(fmt::format("{}-{}", least, most))
      ->capture_default_str();
}

} // namespace tlux::app

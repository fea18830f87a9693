#pragma once

#include <CLI/CLI.hpp>

#include <fmt/format.h>

#include <charconv>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>

namespace tlux::app {

/** @p text as a decimal number; nothing for any other text. */
template <typename T>
std::optional<T> parseNumber(std::string_view text) {
  T value = {};
  const char* end = text.data() + text.size();
  const auto [last, error] = std::from_chars(text.data(), end, value);
  return error == std::errc() && last == end ? std::optional(value) : std::nullopt;
}

/**
 * Accepts decimal numbers from @p least to @p most and normalises them, because the command-line
 * parser would treat a leading 0 as octal.
 */
template <typename T>
CLI::Validator decimal(T least, T most) {
  const auto check = [least, most](std::string& text) {
    const std::optional<T> value = parseNumber<T>(text);
    if (!value || !(*value >= least && *value <= most)) {
      return fmt::format("'{}' is not a {} from {} to {}", text,
                         std::is_integral_v<T> ? "whole number" : "number", least, most);
    }
    text = fmt::format("{}", *value);
    return std::string();
  };
  return {check, ""};
}

/** An option that takes a number from @p least to @p most; the variable's value is its default. */
template <typename T>
CLI::Option* addNumber(CLI::App& parser, const std::string& names, T& value, T least, T most,
                       const std::string& help) {
  return parser.add_option(names, value, help)
      ->transform(decimal(least, most))
      ->type_name(fmt::format("{}-{}", least, most))
      ->capture_default_str();
}

/** The same without a default. */
template <typename T>
CLI::Option* addChoice(CLI::App& parser, const std::string& names, std::optional<T>& value, T least,
                       T most, const std::string& help) {
  return parser.add_option(names, value, help)
      ->transform(decimal(least, most))
      ->type_name(fmt::format("{}-{}", least, most));
}

} // namespace tlux::app

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

/** The whole of @p text as a decimal number; nothing for any other text. */
template <typename T>
std::optional<T> parseNumber(std::string_view text) {
  T value = {};
  const char* end = text.data() + text.size();
  const auto [last, error] = std::from_chars(text.data(), end, value);
  return error == std::errc() && last == end ? std::optional(value) : std::nullopt;
}

/**
 * Accepts decimal numbers of @p least to @p most. They are rewritten in plain form, because the
 * parser of the command line would take a leading 0 for octal.
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

/** An option that takes a number of @p least to @p most; the value it finds is its default. */
template <typename T>
CLI::Option* addNumber(CLI::App& parser, const std::string& names, T& value, T least, T most,
                       const std::string& help) {
  return parser.add_option(names, value, help)
      ->transform(decimal(least, most))
      ->type_name(fmt::format("{}-{}", least, most))
      ->capture_default_str();
}

/** The same where nothing was chosen unless the option is given. */
template <typename T>
CLI::Option* addChoice(CLI::App& parser, const std::string& names, std::optional<T>& value, T least,
                       T most, const std::string& help) {
  return parser.add_option(names, value, help)
      ->transform(decimal(least, most))
      ->type_name(fmt::format("{}-{}", least, most));
}

} // namespace tlux::app

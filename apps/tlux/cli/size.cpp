#include "cli/size.hpp"

#include <fmt/format.h>

#include "cli/number_option.hpp"

namespace tlux::app {

namespace {

/** @p text as a number; 0 if it is not one or out of range. */
int parseSide(std::string_view text) {
  const int side = parseNumber<int>(text).value_or(0);
  return side <= kLargestSide ? side : 0;
}

bool isEven(const Size& size) {
  return size.width % 2 == 0 && size.height % 2 == 0;
}

CLI::Option* addOption(CLI::App& parser, const std::string& name, Size& size,
                       const std::string& help, bool needsEven) {
  const auto accept = [&size, name, needsEven](const std::string& text) {
    const std::optional<Size> parsed = parseSize(text);
    if (!parsed || (needsEven && !isEven(*parsed))) {
      throw CLI::ValidationError(name, fmt::format("'{}' is not WIDTHxHEIGHT{}", text,
                                                   needsEven ? " with even numbers" : ""));
    }
    size = *parsed;
  };
  return parser.add_option_function<std::string>(name, accept, help)->type_name("WxH");
}

} // namespace

std::optional<Size> parseSize(std::string_view text) {
  const size_t cross = text.find('x');
  if (cross == std::string_view::npos) return std::nullopt;
  const Size size = {parseSide(text.substr(0, cross)), parseSide(text.substr(cross + 1))};
  if (size.width < 1 || size.height < 1) return std::nullopt;
  return size;
}

CLI::Option* addSizeOption(CLI::App& parser, const std::string& name, Size& size,
                           const std::string& help) {
  return addOption(parser, name, size, help, false);
}

CLI::Option* addFrameSizeOption(CLI::App& parser, const std::string& name, Size& size,
                                const std::string& help) {
  return addOption(parser, name, size, help, true);
}

} // namespace tlux::app

#include "cli/size.hpp"

#include <charconv>
#include <system_error>

namespace tlux::app {

namespace {

/** The number that is the whole of @p text; 0 if it is none or out of range. */
int parseSide(std::string_view text) {
  int side = 0;
  const char* end = text.data() + text.size();
  const auto [last, error] = std::from_chars(text.data(), end, side);
  return error == std::errc() && last == end && side <= kLargestSide ? side : 0;
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
  const auto accept = [&size, name](const std::string& text) {
    const std::optional<Size> parsed = parseSize(text);
    if (!parsed) throw CLI::ValidationError(name, "'" + text + "' is not WIDTHxHEIGHT");
    size = *parsed;
  };
  return parser.add_option_function<std::string>(name, accept, help)->type_name("WxH");
}

} // namespace tlux::app

#include "output/json.hpp"

#include <fmt/format.h>

#include <cmath>
#include <cstddef>
#include <cstdint>

namespace tlux::app {

namespace {

/** Bytes of the UTF-8 sequence at the start of @p text; 0 if there is no valid one. */
size_t sequenceLength(std::string_view text) {
  const auto byte = [text](size_t i) { return static_cast<uint8_t>(text[i]); };
  const uint8_t first = byte(0);
  if (first < 0x80) return 1;
  const size_t length = first >= 0xC2 && first < 0xE0   ? 2
                        : first >= 0xE0 && first < 0xF0 ? 3
                        : first >= 0xF0 && first < 0xF5 ? 4
                                                        : 0;
  if (length == 0 || text.size() < length) return 0;
  for (size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return 0;
  }
  // Overlong forms, surrogates and code points above U+10FFFF.
  const bool isOutside = (first == 0xE0 && byte(1) < 0xA0) || (first == 0xED && byte(1) > 0x9F) ||
                         (first == 0xF0 && byte(1) < 0x90) || (first == 0xF4 && byte(1) > 0x8F);
  return isOutside ? 0 : length;
}

/** File names may be any bytes; invalid UTF-8 becomes U+FFFD. */
std::string quotedJson(std::string_view text) {
  std::string result = "\"";
  while (!text.empty()) {
    const size_t length = sequenceLength(text);
    const char c = text.front();
    if (length == 0) {
      result += "\\ufffd";
    } else if (c == '"' || c == '\\') {
      result += {'\\', c};
    } else if (static_cast<uint8_t>(c) < 0x20 || c == 0x7F) {
      result += fmt::format("\\u{:04x}", c);
    } else {
      result += text.substr(0, length);
    }
    text.remove_prefix(length == 0 ? 1 : length);
  }
  return result + "\"";
}

} // namespace

JsonObject JsonObject::report(std::string_view schema) {
  return JsonObject().add("schema", schema);
}

JsonObject& JsonObject::add(std::string_view name, std::string_view text) {
  return addValue(name, quotedJson(text));
}

JsonObject& JsonObject::add(std::string_view name, const JsonObject& object) {
  return addValue(name, object.toString());
}

JsonObject& JsonObject::add(std::string_view name, const std::vector<JsonObject>& objects) {
  std::string list;
  for (const JsonObject& object : objects) {
    list += (list.empty() ? "" : ", ") + object.toString();
  }
  return addValue(name, "[" + list + "]");
}

JsonObject& JsonObject::add(std::string_view name, double number, int digits) {
  return addValue(name, std::isfinite(number) ? fmt::format("{:.{}f}", number, digits) : "null");
}

JsonObject& JsonObject::addValue(std::string_view name, std::string_view json) {
  members_ += fmt::format("{}{}: {}", members_.empty() ? "" : ", ", quotedJson(name), json);
  return *this;
}

} // namespace tlux::app

#pragma once

#include <concepts>
#include <string>
#include <string_view>
#include <vector>

namespace tlux::app {

/** An object of JSON as it is written, its members in the order in which they are added. */
class JsonObject {
 public:
  JsonObject() = default;

  /** What the command prints about its work; "schema" tells the shape and its version. */
  static JsonObject report(std::string_view schema);

  JsonObject& add(std::string_view name, std::string_view text);
  JsonObject& add(std::string_view name, const JsonObject& object);
  JsonObject& add(std::string_view name, const std::vector<JsonObject>& objects);
  JsonObject& add(std::string_view name, std::integral auto number) {
    return addValue(name, std::to_string(number));
  }
  /** Fractions beyond the given number of digits are of no use to anybody. */
  JsonObject& add(std::string_view name, double number, int digits);
  /** Numbers as they are. */
  JsonObject& addValue(std::string_view name, std::string_view json);

  /** One line. */
  std::string toString() const { return "{" + members_ + "}"; }

 private:
  std::string members_;
};

} // namespace tlux::app

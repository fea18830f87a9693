#pragma once

#include <concepts>
#include <string>
#include <string_view>
#include <vector>

namespace tlux::app {

/** A JSON object as text, with members in the order of addition. */
class JsonObject {
 public:
  JsonObject() = default;

  /** A report of the command; the member "schema" identifies its format and version. */
  static JsonObject report(std::string_view schema);

  JsonObject& add(std::string_view name, std::string_view text);
  JsonObject& add(std::string_view name, const JsonObject& object);
  JsonObject& add(std::string_view name, const std::vector<JsonObject>& objects);
  JsonObject& add(std::string_view name, std::integral auto number) {
    return addValue(name, std::to_string(number));
  }
  /** Rounds to the given number of digits. */
  JsonObject& add(std::string_view name, double number, int digits);
  /** Adds a value that is JSON already. */
  JsonObject& addValue(std::string_view name, std::string_view json);

  /** One line. */
  std::string toString() const { return "{" + members_ + "}"; }

 private:
  std::string members_;
};

} // namespace tlux::app

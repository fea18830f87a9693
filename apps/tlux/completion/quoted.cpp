#include "completion/scripts.hpp"

namespace tlux::app {

std::string quoted(const std::string& text) {
  std::string result = "'";
  for (const char c : text) {
    result += c == '\'' ? std::string("'\\''") : std::string(1, c);
  }
  return result + "'";
}

std::vector<std::string> quotedPaths(const CommandWords& words) {
  std::vector<std::string> paths;
  visitCommands(words, [&paths](const CommandWords& command) {
    if (!command.path.empty()) paths.push_back(quoted(command.path));
  });
  return paths;
}

} // namespace tlux::app

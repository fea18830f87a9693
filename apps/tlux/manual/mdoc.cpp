#include "manual/mdoc.hpp"

#include <fmt/format.h>

#include <cctype>
#include <cstddef>
#include <sstream>

namespace tlux::app {

namespace {

constexpr size_t kLineLength = 78;

/** Escapes dashes, so they can be copied to a command line, and backslashes. */
std::string escaped(std::string_view text) {
  std::string result;
  for (const char c : text) {
    if (c == '-') result += '\\';
    result += c == '\\' ? "\\e" : std::string(1, c);
  }
  return result;
}

/** A line that is not parsed as a macro, whatever its first character. */
std::string plainLine(const std::string& line) {
  const bool isMacro = line.starts_with('.') || line.starts_with('\'');
  return fmt::format("{}{}", isMacro ? "\\&" : "", line);
}

/** Options ("--size", "-o") get dashes, compound words hyphens. */
std::string escapedWord(const std::string& word) {
  const bool isOption = word.starts_with('-') || word.find("--") != std::string::npos;
  return isOption ? escaped(word) : word;
}

bool endsSentence(const std::string& word) {
  return word.size() > 2 && word.ends_with('.') &&
         std::isalpha(static_cast<unsigned char>(word[word.size() - 3])) != 0;
}

} // namespace

void Mdoc::macro(std::string_view line) {
  text_ += fmt::format(".{}\n", line);
  isAfterText_ = line == "El" || line == "Ed";
}

void Mdoc::heading(std::string_view macroName, std::string_view title) {
  macro(fmt::format("{} {}", macroName, title));
}

void Mdoc::prose(std::string_view text) {
  if (isAfterText_) macro("Pp");
  std::istringstream words{std::string(text)};
  std::string line;
  const auto flush = [&] {
    if (!line.empty()) text_ += plainLine(line) + "\n";
    line.clear();
  };
  for (std::string word; words >> word;) {
    const std::string shown = escapedWord(word);
    if (!line.empty() && line.size() + 1 + shown.size() > kLineLength) flush();
    line += (line.empty() ? "" : " ") + shown;
    if (endsSentence(word)) flush();
  }
  flush();
  isAfterText_ = true;
}

void Mdoc::literal(std::string_view lines) {
  macro("Bd -literal -offset indent");
  std::istringstream stream{std::string(lines)};
  for (std::string line; std::getline(stream, line);) {
    text_ += plainLine(escaped(line)) + "\n";
  }
  macro("Ed");
}

void Mdoc::footer(std::string_view text) {
  constexpr std::string_view kIndent = "  ";
  std::istringstream stream{std::string(text)};
  std::string paragraph;
  std::string examples;
  const auto flush = [&] {
    if (!paragraph.empty()) prose(paragraph);
    if (!examples.empty()) literal(examples);
    paragraph.clear();
    examples.clear();
  };
  for (std::string line; std::getline(stream, line);) {
    const bool isExample = line.starts_with(kIndent);
    if (line.empty() || (!isExample && !examples.empty())) flush();
    if (isExample) {
      examples += line.substr(kIndent.size()) + "\n";
    } else {
      paragraph += line + "\n";
    }
  }
  flush();
}

} // namespace tlux::app

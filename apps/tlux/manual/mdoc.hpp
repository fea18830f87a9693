#pragma once

#include <string>
#include <string_view>

namespace tlux::app {

/** Builds a manual page from macros of mdoc(7). */
class Mdoc {
 public:
  /** One line that begins with a macro, such as "Sh NAME". */
  void macro(std::string_view line);

  /** ".Sh" or ".Ss" with @p title below it. */
  void heading(std::string_view macroName, std::string_view title);

  /** Running text. Each sentence starts on a new line, as mdoc(7) requires. */
  void prose(std::string_view text);

  /** Lines that are shown verbatim. */
  void literal(std::string_view lines);

  /** A footer of the command's help: running text, and examples, which are indented. */
  void footer(std::string_view text);

  const std::string& text() const { return text_; }

 private:
  std::string text_;
  bool isAfterText_ = false; // whether a paragraph needs a break before it
};

} // namespace tlux::app

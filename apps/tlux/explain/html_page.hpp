#pragma once

#include <string>
#include <vector>

namespace tlux::app {

/** Text as HTML shows it letter for letter. */
std::string escapeHtml(const std::string& text);

/** One page with its style sheet in it. Everything but headings and captions is taken for HTML. */
class HtmlPage {
 public:
  HtmlPage(const std::string& title, const std::string& subtitle);

  void addList(const std::vector<std::string>& items);

  /** Figures stand two in a row where the window is wide enough, wide ones by themselves. */
  void startFigures(const std::string& heading);
  void addFigure(const std::string& heading, const std::string& content,
                 const std::string& caption);
  void addWideFigure(const std::string& heading, const std::string& content,
                     const std::string& caption);
  void endFigures();

  /** @param head first column to the left, the others to the right. */
  void addTable(const std::string& heading, const std::vector<std::string>& head,
                const std::vector<std::vector<std::string>>& rows, const std::string& caption);

  std::string finish() const;

 private:
  void addFigureOf(const std::string& style, const std::string& heading, const std::string& content,
                   const std::string& caption);

  std::string content_;
};

} // namespace tlux::app

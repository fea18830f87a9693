#pragma once

#include <string>
#include <vector>

namespace tlux::app {

/** Text escaped for HTML. */
std::string escapeHtml(const std::string& text);

/** One page with an embedded style sheet. Everything except headings and captions is HTML. */
class HtmlPage {
 public:
  HtmlPage(const std::string& title, const std::string& subtitle);

  void addList(const std::vector<std::string>& items);

  /** Figures are shown two in a row if the window is wide enough; wide ones have their own row. */
  void startFigures(const std::string& heading);
  void addFigure(const std::string& heading, const std::string& content,
                 const std::string& caption);
  void addWideFigure(const std::string& heading, const std::string& content,
                     const std::string& caption);
  void endFigures();

  /** @param head column titles; the first column is left-aligned, the others right-aligned. */
  void addTable(const std::string& heading, const std::vector<std::string>& head,
                const std::vector<std::vector<std::string>>& rows, const std::string& caption);

  std::string finish() const;

 private:
  void addFigureOf(const std::string& style, const std::string& heading, const std::string& content,
                   const std::string& caption);

  std::string content_;
};

} // namespace tlux::app

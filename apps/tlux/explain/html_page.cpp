#include "explain/html_page.hpp"

#include <fmt/format.h>

namespace tlux::app {

namespace {

constexpr const char* kHead = R"(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>{}</title>
<style>
)";

constexpr const char* kStyle = R"(:root {
  color-scheme: light dark;
  --paper: #fafaf9; --panel: #fff; --ink: #1c1c1b; --soft: #63625e; --rule: #dddcd8;
  --accent: #c25e12; --before: #8a8984; --band: #c25e1233;
}
@media (prefers-color-scheme: dark) {
  :root {
    --paper: #1b1b1a; --panel: #242423; --ink: #e9e8e4; --soft: #a5a39d; --rule: #3d3c39;
    --accent: #f29b4b; --before: #8a8984; --band: #f29b4b33;
  }
}
* { box-sizing: border-box; }
body { margin: 0; background: var(--paper); color: var(--ink);
  font: 16px/1.5 system-ui, "DejaVu Sans", sans-serif; }
main { max-width: 1280px; margin: 0 auto; padding: 32px 24px 64px; }
h1 { font-size: 28px; line-height: 1.2; margin: 0; overflow-wrap: anywhere; }
h2 { font-size: 20px; margin: 48px 0 12px; }
h3 { font-size: 16px; margin: 0 0 8px; }
.subtitle { color: var(--soft); margin: 4px 0 20px; }
ul { margin: 0; padding-left: 20px; max-width: 80ch; }
.figures { display: grid; grid-template-columns: repeat(auto-fit, minmax(min(460px, 100%), 1fr));
  gap: 20px; }
figure { margin: 0; padding: 16px; background: var(--panel); border: 1px solid var(--rule);
  border-radius: 6px; }
.wide { grid-column: 1 / -1; }
figure img { display: block; width: 100%; height: auto; border-radius: 3px; }
figcaption, .note { margin: 10px 0 0; color: var(--soft); font-size: 14px; }
svg { display: block; width: 100%; height: auto; }
svg text { fill: var(--soft); font: 18px system-ui, "DejaVu Sans", sans-serif; }
.legend { margin-top: 8px; }
.axis { fill: none; stroke: var(--soft); }
.grid { stroke: var(--rule); }
.line { fill: none; stroke: var(--accent); stroke-width: 2.5; stroke-linejoin: round; }
.line.before { stroke: var(--before); stroke-width: 1.5; }
.line.guide { stroke: var(--soft); stroke-width: 1.5; stroke-dasharray: 5 5; }
.area { fill: var(--band); }
.area.before { fill: var(--before); fill-opacity: .45; }
.band { fill: var(--band); }
.key { display: inline-block; width: 12px; height: 12px; margin: 0 4px 0 0; border-radius: 2px;
  vertical-align: -1px; }
.key.before { background: var(--before); }
.key.after { background: var(--accent); }
.panel { padding: 16px; background: var(--panel); border: 1px solid var(--rule);
  border-radius: 6px; overflow-x: auto; }
table { border-collapse: collapse; width: 100%; font-size: 14px; }
th, td { padding: 7px 12px 7px 0; border-bottom: 1px solid var(--rule); text-align: right;
  vertical-align: top; font-variant-numeric: tabular-nums; white-space: nowrap; }
th:first-child, td:first-child { text-align: left; white-space: normal; }
tr:last-child td { border-bottom: 0; font-weight: 600; }
td small { display: block; color: var(--soft); font-size: 13px; font-weight: 400; }
.bar { display: block; height: 8px; margin: 6px auto 0 0; border-radius: 2px;
  background: var(--accent); }
</style>
</head>
<body>
<main>
)";

constexpr const char* kEnd = "</main>\n</body>\n</html>\n";

} // namespace

std::string escapeHtml(const std::string& text) {
  std::string html;
  for (const char c : text) {
    switch (c) {
      case '&':
        html += "&amp;";
        break;
      case '<':
        html += "&lt;";
        break;
      case '>':
        html += "&gt;";
        break;
      case '"':
        html += "&quot;";
        break;
      default:
        html += c;
    }
  }
  return html;
}

HtmlPage::HtmlPage(const std::string& title, const std::string& subtitle)
    : content_(fmt::format(fmt::runtime(kHead), escapeHtml(title))) {
  content_ += kStyle;
  content_ += fmt::format("<h1>{}</h1>\n<p class=\"subtitle\">{}</p>\n", escapeHtml(title),
                          escapeHtml(subtitle));
}

void HtmlPage::addList(const std::vector<std::string>& items) {
  content_ += "<ul>\n";
  for (const std::string& item : items) {
    content_ += fmt::format("<li>{}</li>\n", item);
  }
  content_ += "</ul>\n";
}

void HtmlPage::startFigures(const std::string& heading) {
  content_ += fmt::format("<h2>{}</h2>\n<div class=\"figures\">\n", escapeHtml(heading));
}

void HtmlPage::addFigure(const std::string& heading, const std::string& content,
                         const std::string& caption) {
  addFigureOf("half", heading, content, caption);
}

void HtmlPage::addWideFigure(const std::string& heading, const std::string& content,
                             const std::string& caption) {
  addFigureOf("wide", heading, content, caption);
}

void HtmlPage::addFigureOf(const std::string& style, const std::string& heading,
                           const std::string& content, const std::string& caption) {
  content_ +=
      fmt::format("<figure class=\"{}\">\n<h3>{}</h3>\n{}<figcaption>{}</figcaption>\n</figure>\n",
                  style, escapeHtml(heading), content, caption);
}

void HtmlPage::endFigures() {
  content_ += "</div>\n";
}

void HtmlPage::addTable(const std::string& heading, const std::vector<std::string>& head,
                        const std::vector<std::vector<std::string>>& rows,
                        const std::string& caption) {
  content_ += fmt::format("<h2>{}</h2>\n<div class=\"panel\">\n<table>\n<tr><th>{}</th></tr>\n",
                          escapeHtml(heading), fmt::join(head, "</th><th>"));
  for (const std::vector<std::string>& row : rows) {
    content_ += fmt::format("<tr><td>{}</td></tr>\n", fmt::join(row, "</td><td>"));
  }
  content_ += fmt::format("</table>\n<p class=\"note\">{}</p>\n</div>\n", caption);
}

std::string HtmlPage::finish() const {
  return content_ + kEnd;
}

} // namespace tlux::app

extern "C" {
#include <libavutil/base64.h>
}

#include <fmt/format.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <span>
#include <string>
#include <system_error>
#include <vector>

#include "commands/command.hpp"
#include "explain/html_page.hpp"
#include "output/output_file.hpp"

namespace tlux::app {

namespace {

namespace fs = std::filesystem;

struct TuneOptions {
  fs::path picture;
  fs::path output;
};

// Location of the page relative to the program: installed, and in the build folder.
constexpr const char* kPages[] = {"../share/tlux/tlux.html", "../../web/tlux.html"};
constexpr const char* kPictureMark = "<!--embedded-picture-->";

constexpr const char* kExamples =
    "Examples:\n"
    "  tlux tune photo.jpg                         sliders, before and after, in the browser\n"
    "  tlux tune photo.jpg -o tune.html            only writes the page, for sharing\n"
    "\n"
    "The page is one file, works offline and sends nothing.";

std::string readFile(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  std::string content{std::istreambuf_iterator<char>(stream), {}};
  if (!stream.is_open() || stream.bad() || fs::is_directory(file)) {
    throw Error(ExitCode::kUnreadableInput, file.string(), "cannot be read");
  }
  return content;
}

std::string readPage() {
  std::error_code error;
  const fs::path folder = fs::read_symlink("/proc/self/exe", error).parent_path();
  for (const char* name : kPages) {
    const fs::path page = folder / name;
    if (fs::exists(page, error)) return readFile(page);
  }
  throw Error(ExitCode::kFailed, "tune",
              "the page is not installed with the command; scripts/web.sh builds it");
}

std::string toBase64(const std::string& content) {
  std::vector<char> text(AV_BASE64_SIZE(content.size()));
  const auto* bytes = reinterpret_cast<const uint8_t*>(content.data());
  if (av_base64_encode(text.data(), static_cast<int>(text.size()), bytes,
                       static_cast<int>(content.size())) == nullptr) {
    throw std::runtime_error("the picture is too large for the page");
  }
  return text.data();
}

/** The file's content as an element, for the browser to decode. */
std::string toElement(const fs::path& picture) {
  return fmt::format(
      R"(<script id="embedded" type="application/octet-stream" data-name="{}">{}</script>)",
      escapeHtml(picture.filename().string()), toBase64(readFile(picture)));
}

std::string makePage(const fs::path& picture) {
  std::string page = readPage();
  if (picture.empty()) return page;
  const size_t mark = page.find(kPictureMark);
  if (mark == std::string::npos) throw Error(ExitCode::kFailed, "tune", "the page is damaged");
  return page.replace(mark, std::string(kPictureMark).size(), toElement(picture));
}

/** A unique file for a page that is not kept. */
fs::path makeTemporary() {
  std::string name = (fs::temp_directory_path() / "tlux-XXXXXX.html").string();
  const int descriptor = mkstemps(name.data(), 5);
  if (descriptor < 0) {
    throw Error(ExitCode::kFailed, name, std::generic_category().message(errno));
  }
  close(descriptor);
  return name;
}

/** Opens a file in the desktop's browser. */
bool openInBrowser(const fs::path& file) {
  std::string program = "xdg-open";
  std::string argument = file.string();
  char* arguments[] = {program.data(), argument.data(), nullptr};
  pid_t process = 0;
  if (posix_spawnp(&process, program.c_str(), nullptr, nullptr, arguments, environ) != 0) {
    return false;
  }
  int status = 0;
  return waitpid(process, &status, 0) == process && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

void tune(const TuneOptions& options) {
  const std::string page = makePage(options.picture);
  const bool isKept = !options.output.empty();
  std::error_code error;
  if (fs::equivalent(options.output, options.picture, error)) {
    throw Error(ExitCode::kUsage, options.output.string(), "would overwrite the input");
  }
  const fs::path file = isKept ? options.output : makeTemporary();
  writeFileAtomically(file, std::span(reinterpret_cast<const uint8_t*>(page.data()), page.size()));
  if (!isKept && !openInBrowser(file)) {
    printNote(fmt::format("no browser was found; open {} yourself", file.string()));
  }
}

} // namespace

Command addTune(CLI::App& app) {
  const auto options = std::make_shared<TuneOptions>();
  CLI::App* parser = app.add_subcommand("tune", "Tune a picture on a page in the browser");
  parser
      ->add_option("picture", options->picture,
                   "Picture to start with, in a format that browsers read")
      ->type_name("FILE");
  parser->add_option("-o,--output", options->output, "Write the page to this file and open nothing")
      ->type_name("FILE");
  parser->footer(kExamples);
  return {parser, [options] { return reportFailures("tune", [&] { tune(*options); }); }};
}

} // namespace tlux::app

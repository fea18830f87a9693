#include "manual/manual_page.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <vector>

#include "manual/mdoc.hpp"

namespace tlux::app {

namespace {

// The parts that are not generated from options.
constexpr const char* kHead = R"(.Dd November 22, 2026
.Dt TLUX 1
.Os
.Sh NAME
.Nm tlux
.Nd make pictures of high-contrast scenes look right
.Sh SYNOPSIS
.Nm
.Ar command
.Op Ar options
.Ar input ...
.Nm
.Fl V
.Nm
.Op Ar command
.Fl -help
)";

constexpr const char* kDescription =
    "tlux lifts the dark regions of pictures, protects the bright ones and keeps local detail. It "
    "also runs single operations of the library's toolkit on pictures. The extension of the output "
    "selects its format: PNG, JPEG, WebP, AVIF, HEIC, JPEG XL, TIFF, BMP, or a raw nv21 or nv12 "
    "frame. 'tlux info' lists the formats that this build can write.\n\n"
    "Natural tones, the default, keep smooth areas smooth and saturated colours detailed, and "
    "change as smoothly as the exposure does. Strength 0 keeps the tones, but fine noise is still "
    "smoothed a little, by less than one code of 256 on average.\n\n"
    "Pictures are turned upright. The colour profile, EXIF, XMP and IPTC data, comment, density "
    "and modification time are kept; BMP keeps only the time. Previews inside the metadata are "
    "dropped, since they show the old picture. CMYK, gray with its own profile and linear light "
    "(OpenEXR, floating point) are converted to sRGB. Pictures have up to 268 megapixels and 65534 "
    "pixels on a side. A warning names everything that is dropped: further pages, bits beyond 8, "
    "gain maps for HDR displays, the motion part of a photo.\n\n"
    "An output gets its name only once it is complete and on disk, and it must not be the input. "
    "If it is a symbolic link, the file that the link points to is written. On file systems "
    "without unnamed files, a killed command leaves a .tlux-XXXXXX in the output folder; remove it "
    "by hand.\n\n"
    "Numbers are decimal. Every result carries a small mark in its lower right corner. The output "
    "of --json is documented in docs/command.md.\n\n"
    "The options of the program itself are as follows:";

constexpr const char* kStatus = R"(.Sh EXIT STATUS
.Bl -tag -width Ds
.It 0
Everything was done.
.It 1
The command line makes no sense.
.It 2
An input is missing, damaged or of an unknown kind.
.It 3
Processing failed or an output cannot be written.
.El
.Pp
Every error is one line on standard error that names the file or option and the
reason.
If one of several files fails, the others are still done, and the highest status
is returned.
)";

std::string lowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

/** " Ar file" or " Cm nv21 | nv12" */
std::string valueMacro(const std::string& type, const std::vector<std::string>& choices) {
  if (!choices.empty()) return fmt::format(" Cm {}", fmt::join(choices, " | "));
  return " Ar " + lowerCase(type);
}

/** " Fl o Ar file", with the first and shortest name of an option. */
std::string optionMacro(const OptionWords& option) {
  return fmt::format(" Fl {}", option.names.front().substr(1)) +
         (option.value == Value::kNone ? "" : valueMacro(option.type, option.choices));
}

/** The required and optional arguments of a command. */
std::string synopsisOf(const CommandWords& command) {
  std::string text = command.path.substr(1);
  if (!command.commands.empty()) text += " Ar operation";
  for (const ArgumentWords& argument : command.arguments) {
    text += argument.isRequired ? "" : " Op";
    text += valueMacro(argument.name, argument.choices);
    if (argument.isRepeated) text += " ...";
  }
  for (const OptionWords& option : command.options) {
    if (option.isRequired) text += optionMacro(option);
  }
  return text;
}

void addOptions(const std::vector<OptionWords>& options, Mdoc& page) {
  if (options.empty()) return;
  page.macro("Bl -tag -width Ds");
  for (const OptionWords& option : options) {
    std::vector<std::string> names;
    for (const std::string& name : option.names) {
      names.push_back(name.substr(1));
    }
    const bool hasValue = option.value != Value::kNone;
    page.macro(fmt::format("It Fl {}{}", fmt::join(names, " , "),
                           hasValue ? valueMacro(option.type, option.choices) : ""));
    page.prose(option.help + "." +
               (option.standard.empty() ? "" : fmt::format(" Default: {}.", option.standard)));
  }
  page.macro("El");
}

std::vector<OptionWords> without(const std::vector<OptionWords>& options,
                                 const std::vector<OptionWords>& left) {
  std::vector<OptionWords> rest;
  std::copy_if(options.begin(), options.end(), std::back_inserter(rest),
               [&left](const OptionWords& option) {
                 return std::find(left.begin(), left.end(), option) == left.end();
               });
  return rest;
}

bool has(const CommandWords& command, const OptionWords& option) {
  bool found = false;
  visitCommands(command, [&](const CommandWords& each) {
    found =
        found || std::find(each.options.begin(), each.options.end(), option) != each.options.end();
  });
  return found;
}

/** Options shared by several commands, which are described once. Operations count as one command.
 */
std::vector<OptionWords> commonOptions(const CommandWords& words) {
  constexpr ptrdiff_t kSeveral = 3;
  std::vector<OptionWords> common;
  for (const CommandWords& command : words.commands) {
    visitCommands(command, [&](const CommandWords& each) {
      for (const OptionWords& option : without(each.options, common)) {
        const ptrdiff_t users =
            std::count_if(words.commands.begin(), words.commands.end(),
                          [&option](const CommandWords& user) { return has(user, option); });
        if (users >= kSeveral) common.push_back(option);
      }
    });
  }
  return common;
}

void addCommand(const CommandWords& command, const std::vector<OptionWords>& common, Mdoc& page) {
  page.heading("Ss", synopsisOf(command));
  page.prose(command.help + ".");
  addOptions(without(command.options, common), page);
  page.footer(command.footer);
}

} // namespace

std::string manualPage(const CommandWords& words) {
  const std::vector<OptionWords> common = commonOptions(words);
  Mdoc page;
  page.heading("Sh", "DESCRIPTION");
  page.footer(kDescription);
  addOptions(words.options, page);
  page.heading("Sh", "COMMON OPTIONS");
  page.prose(
      "Several commands share these options; the help of each command lists the ones it takes:");
  addOptions(common, page);
  page.heading("Sh", "COMMANDS");
  for (const CommandWords& below : words.commands) {
    visitCommands(below, [&](const CommandWords& command) { addCommand(command, common, page); });
  }
  std::string text = kHead + page.text() + kStatus;
  Mdoc examples;
  examples.heading("Sh", "EXAMPLES");
  examples.footer(words.footer);
  return text + examples.text();
}

} // namespace tlux::app

#include <memory>

#include "commands/command.hpp"
#include "completion/scripts.hpp"

namespace tlux::app {

namespace {

constexpr const char* kLesson =
    "Examples:\n"
    "  source <(tlux completion bash)                       in ~/.bashrc\n"
    "  source <(tlux completion zsh)                        in ~/.zshrc, after compinit\n"
    "  tlux completion fish >~/.config/fish/completions/tlux.fish\n"
    "\n"
    "Installing tlux also installs its completions.";

} // namespace

Command addCompletion(CLI::App& app) {
  const auto shell = std::make_shared<std::string>();
  CLI::App* parser =
      app.add_subcommand("completion", "Print a script that completes command lines");
  parser->add_option("shell", *shell, "Shell to print it for")
      ->required()
      ->check(CLI::IsMember({"bash", "zsh", "fish"}).description(""))
      ->type_name("bash|zsh|fish");
  parser->footer(kLesson);
  return {parser, [shell, &app] {
            const auto script = *shell == "bash"  ? bashCompletion
                                : *shell == "zsh" ? zshCompletion
                                                  : fishCompletion;
            printText(script(wordsOf(app)));
            return ExitCode::kDone;
          }};
}

} // namespace tlux::app

#pragma once

#include <CLI/CLI.hpp>

#include <functional>
#include <new>
#include <string>

#include "errors.hpp"
#include "report.hpp"

namespace tlux::app {

/** A word of the command line with what it does once everything is parsed. */
struct Command {
  CLI::App* parser;
  std::function<ExitCode()> run;
};

/** Each adds its options to @p app. */
Command addEnhance(CLI::App& app);
Command addCompare(CLI::App& app);
Command addSweep(CLI::App& app);
Command addTune(CLI::App& app);
Command addExplain(CLI::App& app);
Command addOp(CLI::App& app);
Command addBench(CLI::App& app);
Command addInfo(CLI::App& app);
Command addCompletion(CLI::App& app);

/** Does @p work; a failure becomes one line on standard error and its exit code. */
template <typename Work>
ExitCode reportFailures(const std::string& subject, Work work) {
  try {
    work();
    return ExitCode::kDone;
  } catch (const Error& error) {
    printError(error.what());
    return error.code();
  } catch (const std::bad_alloc&) {
    printError(subject + ": not enough memory");
  } catch (const std::exception& error) {
    printError(subject + ": " + error.what());
  }
  return ExitCode::kFailed;
}

} // namespace tlux::app

#pragma once

#include <CLI/CLI.hpp>

#include <functional>
#include <new>
#include <optional>
#include <string>

#include "base/errors.hpp"
#include "output/report.hpp"

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
Command addHelp(CLI::App& app);

/** Does @p work; a failure of any kind becomes one that names @p subject. */
template <typename Work>
std::optional<Error> failureOf(const std::string& subject, Work work) {
  try {
    work();
    return std::nullopt;
  } catch (const Error& error) {
    return error;
  } catch (const std::bad_alloc&) {
    return Error(ExitCode::kFailed, subject, "not enough memory");
  } catch (const std::exception& error) {
    return Error(ExitCode::kFailed, subject, error.what());
  }
}

/** Does @p work; a failure becomes one line on standard error and its exit code. */
template <typename Work>
ExitCode reportFailures(const std::string& subject, Work work) {
  const std::optional<Error> failure = failureOf(subject, work);
  if (!failure) return ExitCode::kDone;
  printError(failure->what());
  return failure->code();
}

} // namespace tlux::app

#pragma once

#include <CLI/CLI.hpp>

#include <functional>
#include <new>
#include <optional>
#include <string>

#include "base/errors.hpp"
#include "output/report.hpp"

namespace tlux::app {

/** A command, and the action to run after parsing. */
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

/** Calls @p work; any failure becomes an Error naming @p subject. */
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

/** Calls @p work; a failure becomes a line on standard error and an exit code. */
template <typename Work>
ExitCode reportFailures(const std::string& subject, Work work) {
  const std::optional<Error> failure = failureOf(subject, work);
  if (!failure) return ExitCode::kDone;
  printError(failure->what());
  return failure->code();
}

} // namespace tlux::app

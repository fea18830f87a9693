#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "commands/picture_options.hpp"
#include "output/progress.hpp"
#include "stream/enhancer.hpp"
#include "video/video_format.hpp"

namespace tlux::app {

struct EnhanceOptions {
  std::vector<std::filesystem::path> inputs;
  std::filesystem::path output;
  std::filesystem::path folder;
  std::string name = "{name}"; // pattern of the names in the folder, without extension
  std::string match;           // pattern of the files to take from folders
  bool skipExisting = false;
  std::string as;     // extension that chooses the form of the output; empty for the output's own
  std::string codec;  // video encoder by FFmpeg's name; empty for the one that suits the container
  std::string preset; // of the video encoder; empty for its own choice
  std::string fps = "25"; // of raw frames
  int jobs = 0;           // files at once, 0 for a number that suits the machine
  bool timing = false;
  bool json = false;
  PictureOptions picture;
};

/** One input with where its result goes and in which form. */
struct Job {
  std::filesystem::path input;
  Output output;
  const VideoFormat* videoFormat = nullptr; // null for a picture or raw frames
};

struct Plan {
  std::vector<Job> jobs;
  std::vector<Job> skipped;    // whose results are there already
  std::vector<Error> refusals; // of inputs that are left out
};

/** Throws Error for options that make no sense together. */
Plan planJobs(const EnhanceOptions& options);

/** What all jobs share. */
struct JobSettings {
  const EnhanceOptions& options;
  std::optional<RawLayout> raw; // of the inputs, nothing for files that tell
  AVRational fps = {25, 1};
  int threads = 0; // of a codec and of the library, 0 for as many as suit the machine
};

/** Throws Error for values that make no sense. */
JobSettings settingsFor(const EnhanceOptions& options);

/** One line of JSON; @p input is empty where it is not the failure of one. */
std::string describeFailure(const Error& failure, const std::filesystem::path& input);

/** Says that the result of @p job exists already. */
void tellSkipped(const Job& job, const EnhanceOptions& options);

/** Enhances one file, picture or stream. Throws Error. */
void enhanceFile(const Job& job, const JobSettings& settings, Enhancer& enhancer,
                 Progress& progress);

} // namespace tlux::app

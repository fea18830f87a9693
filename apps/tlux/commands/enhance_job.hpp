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
  std::string name = "{name}"; // pattern for names in the folder, without extension
  std::string match;           // pattern for files to take from folders
  bool skipExisting = false;
  std::string as;         // extension that selects the output format; empty for the output's own
  std::string codec;      // FFmpeg's name of the video encoder; empty for the container's default
  std::string preset;     // of the video encoder; empty for its default
  std::string fps = "25"; // of raw frames
  int jobs = 0;           // files processed at once, 0 to choose by the machine
  bool timing = false;
  bool json = false;
  PictureOptions picture;
};

/** One input, and the file and format of its result. */
struct Job {
  std::filesystem::path input;
  Output output;
  const VideoFormat* videoFormat = nullptr; // null for a picture or raw frames
};

struct Plan {
  std::vector<Job> jobs;
  std::vector<Job> skipped;    // whose results already exist
  std::vector<Error> refusals; // of inputs that are not processed
};

/** Throws Error for contradictory options. */
Plan planJobs(const EnhanceOptions& options);

/** What all jobs share. */
struct JobSettings {
  const EnhanceOptions& options;
  std::optional<RawLayout> raw; // of the inputs; nothing for self-describing files
  AVRational fps = {25, 1};
  int threads = 0; // for each codec and for the library, 0 to choose by the machine
};

/** Throws Error for invalid values. */
JobSettings settingsFor(const EnhanceOptions& options);

/** One line of JSON; @p input is empty if the failure does not concern a single input. */
std::string describeFailure(const Error& failure, const std::filesystem::path& input);

/** Reports that the result of @p job already exists. */
void tellSkipped(const Job& job, const EnhanceOptions& options);

/** Enhances one file, picture or stream. Throws Error. */
void enhanceFile(const Job& job, const JobSettings& settings, Enhancer& enhancer,
                 Progress& progress);

} // namespace tlux::app

#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "commands/picture_options.hpp"
#include "engine.hpp"
#include "progress.hpp"
#include "video/video_format.hpp"

namespace tlux::app {

struct EnhanceOptions {
  std::vector<std::filesystem::path> inputs;
  std::filesystem::path output;
  std::filesystem::path folder;
  std::string as;     // extension that chooses the form of the output; empty for the output's own
  std::string codec;  // video encoder by FFmpeg's name; empty for the one that suits the container
  std::string preset; // of the video encoder; empty for its own choice
  std::string fps = "25"; // of raw frames
  int jobs = 0;           // files at once, 0 for a number that suits the machine
  bool timing = false;
  PictureOptions picture;
};

/** One input with where its result goes and in which form. */
struct Job {
  std::filesystem::path input;
  Output output;
  const VideoFormat* videoFormat = nullptr; // null for a picture or raw frames
};

/** Throws Error for options that make no sense together. */
std::vector<Job> planJobs(const EnhanceOptions& options);

/** What all jobs share. */
struct JobSettings {
  const EnhanceOptions& options;
  std::optional<RawLayout> raw; // of the inputs, nothing for files that tell
  AVRational fps = {25, 1};
  int codecThreads = 0;
};

/** Throws Error for values that make no sense. */
JobSettings settingsFor(const EnhanceOptions& options);

/** Enhances one file, picture or stream. Throws Error. */
void enhanceFile(const Job& job, const JobSettings& settings, Engine& engine, Progress& progress);

} // namespace tlux::app

#pragma once

#include <CLI/CLI.hpp>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "engine.hpp"
#include "media/picture_format.hpp"
#include "media/raw.hpp"

namespace tlux::app {

/** Options shared by the commands that read and write pictures. */
struct PictureOptions {
  uint32_t strength = 50;
  int quality = 92;
  std::string chroma = "420"; // of formats that may halve it
  bool strict = false;        // damaged input is refused
  bool strip = false;         // metadata are left out
  bool quiet = false;
  std::string size;   // of raw input, "WIDTHxHEIGHT"; empty for pictures
  std::string format; // of raw files, "nv21" or "nv12"
  int pitch = 0;      // of raw files, 0 for the width
};

void addPictureOptions(CLI::App& parser, PictureOptions& options);

/** The part of them for commands that do not enhance: all but the strength. */
void addFileOptions(CLI::App& parser, PictureOptions& options);

/** Layout of raw input, nothing when the inputs are pictures. Throws Error for nonsense. */
std::optional<RawLayout> rawInputLayout(const PictureOptions& options);

/** Where a result goes and in which form. */
struct Output {
  std::filesystem::path file;
  const PictureFormat* pictureFormat = nullptr; // null for raw output
  AVPixelFormat rawFormat = AV_PIX_FMT_NONE;
};

/** The form an extension in lower case stands for, nothing for one that cannot be written. */
std::optional<Output> findOutput(const std::filesystem::path& file, const std::string& extension,
                                 const PictureOptions& options);

/** Chooses the form by the extension. Throws Error for an extension that cannot be written. */
Output chooseOutput(const std::filesystem::path& file, const PictureOptions& options);

/** Refuses to write over @p input. */
void checkKeepsInput(const Output& output, const std::filesystem::path& input);

/** Warns of what the picture has beyond what is taken. */
Picture readInput(const std::filesystem::path& file, const std::optional<RawLayout>& raw,
                  const PictureOptions& options);

/** Raw frames as the library makes them, pictures without strips at their edges. */
FramePtr optimize(Engine& engine, const Picture& picture, uint32_t strength);

/** Writes the result, warning of what its format cannot keep. */
void writeOutput(const Picture& picture, const Output& output, const PictureOptions& options);

/** "name WIDTHxHEIGHT", the size as it lies in the file. */
std::string describeInput(const std::filesystem::path& file, const Picture& picture);
std::string describeOutput(const Output& output, const Picture& picture);

} // namespace tlux::app

#pragma once

#include <CLI/CLI.hpp>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "base/errors.hpp"
#include "cli/size.hpp"
#include "media/picture_format.hpp"
#include "media/raw.hpp"
#include "stream/enhancer.hpp"

namespace tlux::app {

/** Options shared by the commands that read and write pictures. */
struct PictureOptions {
  Tones tones;
  int quality = 92;
  std::string chroma = "420"; // for formats that can halve it
  bool strict = false;        // refuses damaged input
  bool strip = false;         // drops metadata
  bool quiet = false;
  bool force = false;     // also replaces write-protected files
  bool noClobber = false; // never replaces a file
  Size size;              // of raw input; empty for pictures
  std::string format;     // of raw files, "nv21" or "nv12"
  int pitch = 0;          // of raw files, 0 for the width
};

void addPictureOptions(CLI::App& parser, PictureOptions& options);

/** The options that select the tones. */
void addToneOptions(CLI::App& parser, Tones& tones);

/** The options for commands that do not enhance: all but the tones. */
void addFileOptions(CLI::App& parser, PictureOptions& options);

/** --json, for reports as JSON instead of text. */
void addJsonOption(CLI::App& parser, bool& json);

/** Layout of raw input, nothing if the inputs are pictures. Throws Error for invalid options. */
std::optional<RawLayout> rawInputLayout(const PictureOptions& options);

/** The file and format of a result. */
struct Output {
  std::filesystem::path file;
  const PictureFormat* pictureFormat = nullptr; // null for raw output
  AVPixelFormat rawFormat = AV_PIX_FMT_NONE;
};

/** The format for an extension in lower case, nothing if it cannot be written. */
std::optional<Output> findOutput(const std::filesystem::path& file, const std::string& extension,
                                 const PictureOptions& options);

/** Chooses the format by the extension. Throws Error for an extension that cannot be written. */
Output chooseOutput(const std::filesystem::path& file, const PictureOptions& options);

/** The error for an output file that is also an input. */
Error overwritesInput(const std::filesystem::path& file);

/** Throws Error if @p file exists and must not be replaced. */
void checkMayReplace(const std::filesystem::path& file, const PictureOptions& options);

/** Throws Error if @p file is the input or must not be replaced. */
void checkMayWrite(const std::filesystem::path& file, const std::filesystem::path& input,
                   const PictureOptions& options);

/** Warns about parts of the picture that are ignored. */
Picture readInput(const std::filesystem::path& file, const std::optional<RawLayout>& raw,
                  const PictureOptions& options);

/** Enhances a picture, independently of earlier ones. */
void enhance(Enhancer& enhancer, Picture& picture);

/** The same, into a new frame. */
FramePtr enhanced(Enhancer& enhancer, const Picture& picture);

/** Writes the result and warns about losses. */
void writeOutput(const Picture& picture, const Output& output, const PictureOptions& options);

/** "name WIDTHxHEIGHT", with the size stored in the file. */
std::string describeInput(const std::filesystem::path& file, const Picture& picture);
std::string describeOutput(const Output& output, const Picture& picture);

} // namespace tlux::app

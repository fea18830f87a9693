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
  std::string chroma = "420"; // of formats that may halve it
  bool strict = false;        // damaged input is refused
  bool strip = false;         // metadata are left out
  bool quiet = false;
  bool force = false;     // replaces files that are write-protected
  bool noClobber = false; // replaces no file
  Size size;              // of raw input; empty for pictures
  std::string format;     // of raw files, "nv21" or "nv12"
  int pitch = 0;          // of raw files, 0 for the width
};

void addPictureOptions(CLI::App& parser, PictureOptions& options);

/** The part of them that chooses the tones. */
void addToneOptions(CLI::App& parser, Tones& tones);

/** The part of them for commands that do not enhance: all but the tones. */
void addFileOptions(CLI::App& parser, PictureOptions& options);

/** --json, for what else would be told in words. */
void addJsonOption(CLI::App& parser, bool& json);

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

/** What is told when the file to write is one of those to read. */
Error overwritesInput(const std::filesystem::path& file);

/** Throws Error if @p file exists and must stay as it is. */
void checkMayReplace(const std::filesystem::path& file, const PictureOptions& options);

/** Throws Error if @p file must not be written: it is the input, or must stay as it is. */
void checkMayWrite(const std::filesystem::path& file, const std::filesystem::path& input,
                   const PictureOptions& options);

/** Warns of what the picture has beyond what is taken. */
Picture readInput(const std::filesystem::path& file, const std::optional<RawLayout>& raw,
                  const PictureOptions& options);

/** Enhances a picture by itself, whatever came before. */
void enhance(Enhancer& enhancer, Picture& picture);

/** The same into a frame of its own. */
FramePtr enhanced(Enhancer& enhancer, const Picture& picture);

/** Writes the result, warning of what its format cannot keep. */
void writeOutput(const Picture& picture, const Output& output, const PictureOptions& options);

/** "name WIDTHxHEIGHT", the size as it lies in the file. */
std::string describeInput(const std::filesystem::path& file, const Picture& picture);
std::string describeOutput(const Output& output, const Picture& picture);

} // namespace tlux::app

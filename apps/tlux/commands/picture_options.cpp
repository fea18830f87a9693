#include "commands/picture_options.hpp"

#include <fmt/format.h>
#include <unistd.h>

#include <string_view>
#include <system_error>

#include "base/errors.hpp"
#include "cli/number_option.hpp"
#include "cli/size.hpp"
#include "media/reader.hpp"
#include "media/semi_planar.hpp"
#include "media/writer.hpp"
#include "output/output_file.hpp"
#include "output/report.hpp"

namespace tlux::app {

namespace {

constexpr uint32_t kMostSteady = 1000;

AVPixelFormat rawFormatNamed(std::string_view name) {
  if (name == "nv21") return AV_PIX_FMT_NV21;
  if (name == "nv12") return AV_PIX_FMT_NV12;
  return AV_PIX_FMT_NONE;
}

/** Keeps old and new picture together when sorted by date. */
void keepTime(const std::filesystem::path& file,
              const std::optional<std::filesystem::file_time_type>& time) {
  if (!time || isPipe(file)) return;
  std::error_code error; // failing to set the time is not an error
  std::filesystem::last_write_time(file, *time, error);
}

} // namespace

void addPictureOptions(CLI::App& parser, PictureOptions& options) {
  addToneOptions(parser, options.tones);
  addFileOptions(parser, options);
}

void addToneOptions(CLI::App& parser, Tones& tones) {
  addNumber(parser, "-s,--strength", tones.strength, 0U, 100U,
            "0 keeps the tones, 100 is strongest");
  parser.add_flag("--exact", tones.exact,
                  "Exactly the tones of the library's run, not natural ones");
  addChoice(parser, "--steady", tones.steady, 0U, kMostSteady,
            "Frames over which the tones follow the scene; 0: no smoothing");
  addChoice(parser, "--colour", tones.colour, 0U, 100U,
            "How far colour follows brightness, in per cent");
}

void addFileOptions(CLI::App& parser, PictureOptions& options) {
  parser.add_option("--quality", options.quality, "Quality of lossy output")
      ->transform(decimal(1, 100))
      ->type_name("1-100")
      ->capture_default_str();
  parser.add_option("--chroma", options.chroma, "Chroma at half or full resolution in the output")
      ->check(CLI::IsMember({"420", "444"}).description(""))
      ->type_name("420|444")
      ->capture_default_str();
  parser.add_flag("--strip", options.strip, "Drop metadata: EXIF, XMP, IPTC, comment, time");
  parser.add_flag("--strict", options.strict, "Refuse damaged input instead of warning");
  parser.add_flag("-q,--quiet", options.quiet, "Print only warnings and errors");
  parser.add_flag("--force", options.force, "Replace write-protected files too");
  parser.add_flag("--no-clobber", options.noClobber, "Never replace a file");
  constexpr const char* kRaw = "Raw camera frames";
  addFrameSizeOption(parser, "--size", options.size,
                     "The input is one raw frame of this size in pixels")
      ->group(kRaw);
  parser
      .add_option("--format", options.format, "Order of the chroma samples, Cr first or Cb first")
      ->check(CLI::IsMember({"nv21", "nv12"}).description(""))
      ->type_name("nv21|nv12")
      ->group(kRaw);
  parser.add_option("--pitch", options.pitch, "Bytes from row to row, if different from the width")
      ->transform(decimal(1, 4 * kLargestSide))
      ->type_name("BYTES")
      ->group(kRaw);
}

void addJsonOption(CLI::App& parser, bool& json) {
  parser.add_flag("--json", json, "Print one line of JSON for each result");
}

std::optional<RawLayout> rawInputLayout(const PictureOptions& options) {
  if (options.size.isEmpty()) return std::nullopt;
  if (options.format.empty()) {
    throw Error(ExitCode::kUsage, "--size", "raw input also needs --format nv21 or nv12");
  }
  RawLayout layout;
  layout.format = rawFormatNamed(options.format);
  layout.width = options.size.width;
  layout.height = options.size.height;
  layout.pitch = options.pitch == 0 ? layout.width : options.pitch;
  if (layout.pitch < layout.width) {
    throw Error(ExitCode::kUsage, "--pitch",
                fmt::format("{} bytes are too few for {} pixels", layout.pitch, layout.width));
  }
  return layout;
}

std::optional<Output> findOutput(const std::filesystem::path& file, const std::string& extension,
                                 const PictureOptions& options) {
  const bool isGeneric = extension == "yuv" || extension == "raw";
  if (isGeneric && options.format.empty()) {
    throw Error(ExitCode::kUsage, file.string(), "raw output needs --format nv21 or nv12");
  }
  const Output output = {file, findPictureFormat("name." + extension),
                         rawFormatNamed(isGeneric ? options.format : extension)};
  if (output.pictureFormat == nullptr && output.rawFormat == AV_PIX_FMT_NONE) return std::nullopt;
  return output;
}

Output chooseOutput(const std::filesystem::path& file, const PictureOptions& options) {
  const std::optional<Output> output = findOutput(file, extensionOf(file), options);
  if (!output) {
    throw Error(
        ExitCode::kUsage, file.string(),
        "the extension of the output must be one of " + writableExtensions() + ", nv21, nv12");
  }
  return *output;
}

Error overwritesInput(const std::filesystem::path& file) {
  return {ExitCode::kUsage, file.string(), "would overwrite the input"};
}

void checkMayReplace(const std::filesystem::path& file, const PictureOptions& options) {
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::status(file, error);
  if (!std::filesystem::is_regular_file(status)) return;
  if (options.noClobber) throw Error(ExitCode::kFailed, file.string(), "already exists");
  using std::filesystem::perms;
  constexpr perms kAnyWrite = perms::owner_write | perms::group_write | perms::others_write;
  // The superuser may write everything, but write protection should be respected all the same.
  const bool isProtected =
      (status.permissions() & kAnyWrite) == perms::none || access(file.c_str(), W_OK) != 0;
  if (isProtected && !options.force) {
    throw Error(ExitCode::kFailed, file.string(), "is write-protected; --force replaces it");
  }
}

void checkMayWrite(const std::filesystem::path& file, const std::filesystem::path& input,
                   const PictureOptions& options) {
  std::error_code error;
  if (std::filesystem::equivalent(file, input, error)) throw overwritesInput(file);
  checkMayReplace(file, options);
}

Picture readInput(const std::filesystem::path& file, const std::optional<RawLayout>& raw,
                  const PictureOptions& options) {
  if (raw) return readRaw(file, *raw);
  Picture picture =
      readPicture(file, {.isStrict = options.strict, .keepsMetadata = !options.strip});
  for (const std::string& remark : picture.remarks) {
    printWarning(file.string() + ": " + remark);
  }
  return picture;
}

void enhance(Enhancer& enhancer, Picture& picture) {
  enhancer.startAnew();
  enhancer.enhance(*picture.frame);
}

FramePtr enhanced(Enhancer& enhancer, const Picture& picture) {
  FramePtr frame = makeSemiPlanarLike(*picture.frame);
  check(av_frame_copy(frame.get(), picture.frame.get()));
  enhancer.startAnew();
  enhancer.enhance(*frame);
  return frame;
}

void writeOutput(const Picture& picture, const Output& output, const PictureOptions& options) {
  if (output.pictureFormat == nullptr) {
    writeRaw(*picture.frame, output.file, output.rawFormat, options.pitch);
    return;
  }
  writePicture(picture, output.file, *output.pictureFormat,
               {.quality = options.quality, .wholeChroma = options.chroma == "444"});
  keepTime(output.file, picture.modified);
  for (const std::string& loss : describeLosses(picture, *output.pictureFormat)) {
    printWarning(output.file.string() + ": " + loss);
  }
}

std::string describeInput(const std::filesystem::path& file, const Picture& picture) {
  return fmt::format("{} {}x{}", file.string(), picture.storedWidth, picture.storedHeight);
}

std::string describeOutput(const Output& output, const Picture& picture) {
  // Raw frames keep the extra column or row that makes their size even.
  const bool isRaw = output.pictureFormat == nullptr;
  return fmt::format("{} {}x{}", output.file.string(),
                     isRaw ? picture.frame->width : picture.width(),
                     isRaw ? picture.frame->height : picture.height());
}

} // namespace tlux::app

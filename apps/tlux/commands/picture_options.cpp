#include "commands/picture_options.hpp"

#include <fmt/format.h>

#include <string_view>
#include <system_error>

#include "cli/size.hpp"
#include "errors.hpp"
#include "media/reader.hpp"
#include "media/writer.hpp"
#include "report.hpp"

namespace tlux::app {

namespace {

constexpr uint32_t kMaxStrength = 100;

AVPixelFormat rawFormatNamed(std::string_view name) {
  if (name == "nv21") return AV_PIX_FMT_NV21;
  if (name == "nv12") return AV_PIX_FMT_NV12;
  return AV_PIX_FMT_NONE;
}

} // namespace

void addPictureOptions(CLI::App& parser, PictureOptions& options) {
  parser.add_option("-s,--strength", options.strength, "0 leaves the light as it is, 100 is most")
      ->check(CLI::Range(0, kMaxStrength).description(""))
      ->type_name("0-100")
      ->capture_default_str();
  addFileOptions(parser, options);
}

void addFileOptions(CLI::App& parser, PictureOptions& options) {
  parser.add_option("--quality", options.quality, "Quality of JPEG and WebP output")
      ->check(CLI::Range(1, 100).description(""))
      ->type_name("1-100")
      ->capture_default_str();
  parser.add_flag("-q,--quiet", options.quiet, "Print warnings and errors only");
  constexpr const char* kRaw = "Raw camera frames";
  parser.add_option("--size", options.size, "The input is one raw frame of this size in pixels")
      ->type_name("WxH")
      ->group(kRaw);
  parser
      .add_option("--format", options.format, "Order of the chroma samples, Cr first or Cb first")
      ->check(CLI::IsMember({"nv21", "nv12"}).description(""))
      ->type_name("nv21|nv12")
      ->group(kRaw);
  parser.add_option("--pitch", options.pitch, "Bytes from row to row, if not the width")
      ->check(CLI::Range(1, 4 * kLargestSide).description(""))
      ->type_name("BYTES")
      ->group(kRaw);
}

std::optional<RawLayout> rawInputLayout(const PictureOptions& options) {
  if (options.size.empty()) return std::nullopt;
  if (options.format.empty()) {
    throw Error(ExitCode::kUsage, "--size", "raw input also needs --format nv21 or nv12");
  }
  RawLayout layout;
  layout.format = rawFormatNamed(options.format);
  const std::optional<Size> size = parseSize(options.size);
  if (!size || size->width % 2 != 0 || size->height % 2 != 0) {
    throw Error(ExitCode::kUsage, "--size",
                fmt::format("'{}' is not WIDTHxHEIGHT with even numbers", options.size));
  }
  layout.width = size->width;
  layout.height = size->height;
  layout.pitch = options.pitch == 0 ? layout.width : options.pitch;
  if (layout.pitch < layout.width) {
    throw Error(ExitCode::kUsage, "--pitch",
                fmt::format("{} bytes do not hold {} pixels", layout.pitch, layout.width));
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

void checkKeepsInput(const Output& output, const std::filesystem::path& input) {
  std::error_code error;
  if (std::filesystem::equivalent(output.file, input, error)) {
    throw Error(ExitCode::kUsage, output.file.string(), "would be written over the input");
  }
}

Picture readInput(const std::filesystem::path& file, const std::optional<RawLayout>& raw) {
  return raw ? readRaw(file, *raw) : readPicture(file);
}

FramePtr optimize(Engine& engine, const Picture& picture, uint32_t strength) {
  return picture.isRaw ? engine.run(*picture.frame, strength)
                       : engine.runSeamlessly(*picture.frame, strength);
}

void writeOutput(const Picture& picture, const Output& output, const PictureOptions& options) {
  if (output.pictureFormat == nullptr) {
    writeRaw(*picture.frame, output.file, output.rawFormat, options.pitch);
    return;
  }
  writePicture(picture, output.file, *output.pictureFormat, options.quality);
  for (const std::string& loss : describeLosses(picture, *output.pictureFormat)) {
    printWarning(output.file.string() + ": " + loss);
  }
}

std::string describeInput(const std::filesystem::path& file, const Picture& picture) {
  return fmt::format("{} {}x{}", file.string(), picture.storedWidth, picture.storedHeight);
}

std::string describeOutput(const Output& output, const Picture& picture) {
  // Raw frames keep the column or row that makes their sizes even.
  const bool isRaw = output.pictureFormat == nullptr;
  return fmt::format("{} {}x{}", output.file.string(),
                     isRaw ? picture.frame->width : picture.width(),
                     isRaw ? picture.frame->height : picture.height());
}

} // namespace tlux::app

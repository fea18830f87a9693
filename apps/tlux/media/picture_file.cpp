#include "media/picture_file.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <system_error>

#include "media/input_container.hpp"
#include "output/output_file.hpp"

namespace tlux::app {

namespace {

constexpr size_t kSignatureBytes = 64;
constexpr uint64_t kMostBytes = uint64_t{4} << 30;

class InputFile {
 public:
  explicit InputFile(const std::filesystem::path& file)
      : file_(file),
        descriptor_(isPipe(file) ? dup(STDIN_FILENO) : open(file.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (descriptor_ < 0) fail();
  }
  ~InputFile() { close(descriptor_); }
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  struct stat status() const {
    struct stat status = {};
    if (fstat(descriptor_, &status) != 0) fail();
    return status;
  }

  /** Appends up to @p count bytes; fewer at the end of the file. */
  void read(Bytes& content, size_t count) const {
    size_t size = content.size();
    content.resize(size + count);
    const size_t end = content.size();
    while (size < end) {
      const ssize_t got = ::read(descriptor_, content.data() + size, end - size);
      if (got < 0 && errno == EINTR) continue;
      if (got < 0) fail();
      if (got == 0) break;
      size += static_cast<size_t>(got);
    }
    content.resize(size);
  }

 private:
  [[noreturn]] void fail() const {
    throw unreadable(file_, std::generic_category().message(errno));
  }

  const std::filesystem::path& file_;
  int descriptor_;
};

bool holds(std::span<const uint8_t> content, size_t offset, std::string_view signature) {
  return content.size() >= offset + signature.size() &&
         std::memcmp(content.data() + offset, signature.data(), signature.size()) == 0;
}

bool isHeif(std::span<const uint8_t> content) {
  if (!holds(content, 4, "ftyp")) return false;
  constexpr std::string_view kBrands[] = {"heic", "heix", "heim", "heis", "hevc",
                                          "hevx", "mif1", "msf1", "avif", "avis"};
  return std::any_of(std::begin(kBrands), std::end(kBrands),
                     [&](std::string_view brand) { return holds(content, 8, brand); });
}

/** Reads the rest, in growing pieces. */
void readRest(const InputFile& input, Bytes& content, const std::filesystem::path& file) {
  size_t piece = size_t{1} << 16;
  size_t before = 0;
  do {
    before = content.size();
    if (before > kMostBytes) {
      throw unreadable(file, fmt::format("is not a picture of less than {} GiB", kMostBytes >> 30));
    }
    input.read(content, piece);
    piece = std::max(piece, content.size());
  } while (content.size() > before);
}

} // namespace

FileKind kindOf(std::span<const uint8_t> content) {
  using namespace std::string_view_literals;
  if (holds(content, 0, "\xFF\xD8\xFF"sv)) return FileKind::kJpeg;
  if (holds(content, 0, "\x89PNG\r\n\x1A\n"sv)) return FileKind::kPng;
  if (holds(content, 0, "RIFF"sv) && holds(content, 8, "WEBP"sv)) return FileKind::kWebp;
  for (const std::string_view signature : {"II*\0"sv, "MM\0*"sv, "II+\0"sv, "MM\0+"sv}) {
    if (holds(content, 0, signature)) return FileKind::kTiff;
  }
  if (isHeif(content)) return FileKind::kHeif;
  if (holds(content, 0, "\xFF\x0A"sv)) return FileKind::kJpegXl;
  if (holds(content, 0, "\0\0\0\x0CJXL \r\n\x87\n"sv)) return FileKind::kJpegXl;
  return FileKind::kOther;
}

FileKind kindOfFile(const std::filesystem::path& file) {
  if (isPipe(file) || !std::filesystem::is_regular_file(file)) return FileKind::kOther;
  Bytes signature;
  InputFile(file).read(signature, kSignatureBytes);
  return kindOf(signature);
}

PictureFile loadPictureFile(const std::filesystem::path& file) {
  checkReadable(file);
  const InputFile input(file);
  const struct stat status = input.status();
  PictureFile picture;
  input.read(picture.content, kSignatureBytes);
  picture.kind = kindOf(picture.content);
  picture.isWhole = picture.kind != FileKind::kOther || !S_ISREG(status.st_mode);
  if (picture.isWhole) readRest(input, picture.content, file);
  if (picture.content.empty()) throw unreadable(file, "is empty");
  std::error_code error;
  const auto modified = std::filesystem::last_write_time(file, error);
  if (!error && S_ISREG(status.st_mode)) picture.modified = modified;
  picture.size = picture.isWhole ? picture.content.size() : static_cast<uint64_t>(status.st_size);
  return picture;
}

} // namespace tlux::app

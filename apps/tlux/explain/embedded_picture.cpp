#include "explain/embedded_picture.hpp"

extern "C" {
#include <libavutil/base64.h>
}

#include <fmt/format.h>

#include <utility>
#include <vector>

#include "media/picture_format.hpp"
#include "media/rgb_copy.hpp"
#include "media/writer.hpp"

namespace tlux::app {

namespace {

constexpr int kLargestWidth = 1200;
constexpr int kQuality = 88;

std::string toBase64(const Bytes& content) {
  std::vector<char> text(AV_BASE64_SIZE(content.size()));
  if (av_base64_encode(text.data(), static_cast<int>(text.size()), content.data(),
                       static_cast<int>(content.size())) == nullptr) {
    throw std::runtime_error("a picture is too large for the page");
  }
  return text.data();
}

} // namespace

std::string EmbeddedPicture::toHtml(const std::string& description) const {
  const char* type = extensionOf(fileName) == "png" ? "image/png" : "image/jpeg";
  return fmt::format("<img width=\"{}\" height=\"{}\" alt=\"{}\" src=\"data:{};base64,{}\">\n",
                     width, height, description, type, toBase64(content));
}

EmbeddedPicture embed(FramePtr rgb, const std::string& fileName) {
  Picture picture;
  picture.frame = shrinkToWidth(std::move(rgb), kLargestWidth);
  const PictureFormat* format = findPictureFormat(fileName);
  if (format == nullptr) throw std::runtime_error("this FFmpeg cannot write " + fileName);
  return {fileName, picture.width(), picture.height(), encodePicture(picture, *format, {kQuality})};
}

} // namespace tlux::app

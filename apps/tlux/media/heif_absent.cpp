#include <stdexcept>

#include "media/heif_reader.hpp"
#include "media/heif_writer.hpp"

// Replaces heif_reader.cpp and heif_writer.cpp if libheif is missing.

namespace tlux::app {

namespace {

[[noreturn]] void fail() {
  throw std::runtime_error("HEIC and AVIF are not supported: this tlux was built without libheif");
}

} // namespace

DecodedPicture readHeif(std::span<const uint8_t> /*content*/) {
  fail();
}

bool canEncodeHeif(HeifCodec /*codec*/) {
  return false;
}

Bytes encodeHeif(const AVFrame& /*frame*/, HeifCodec /*codec*/, int /*quality*/,
                 const Metadata* /*metadata*/) {
  fail();
}

} // namespace tlux::app

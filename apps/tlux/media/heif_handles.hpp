#pragma once

#include <libheif/heif.h>

#include <memory>

namespace tlux::app {

/** Deleter for the release functions of a C library. */
template <auto release>
struct ReleaseHeif {
  template <typename T>
  void operator()(T* object) const {
    release(object);
  }
};

using HeifContextPtr = std::unique_ptr<heif_context, ReleaseHeif<heif_context_free>>;
using HeifHandlePtr = std::unique_ptr<heif_image_handle, ReleaseHeif<heif_image_handle_release>>;
using HeifImagePtr = std::unique_ptr<heif_image, ReleaseHeif<heif_image_release>>;
using HeifNclxPtr =
    std::unique_ptr<heif_color_profile_nclx, ReleaseHeif<heif_nclx_color_profile_free>>;
using HeifDecodingOptionsPtr =
    std::unique_ptr<heif_decoding_options, ReleaseHeif<heif_decoding_options_free>>;
using HeifEncodingOptionsPtr =
    std::unique_ptr<heif_encoding_options, ReleaseHeif<heif_encoding_options_free>>;
using HeifEncoderPtr = std::unique_ptr<heif_encoder, ReleaseHeif<heif_encoder_release>>;

} // namespace tlux::app

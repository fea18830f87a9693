#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "media/av.hpp"
#include "video/frame_stream.hpp"

namespace tlux::app {

/** A container for writing videos, with its default encoder. */
struct VideoFormat {
  const char* muxer; // FFmpeg's names
  const char* encoder;
  const char* deepEncoder; // for more than 8 bits, if players need another one; may be null
  std::vector<const char*> extensions; // lower case, without the dot
  bool keepsTimes = false;             // of each frame; otherwise the rate is fixed
  bool keepsRotation = false;          // as a display matrix; otherwise frames are rotated
};

/** The format for an extension; null if unknown or if FFmpeg lacks its muxer. */
const VideoFormat* findVideoFormat(const std::string& extension);

/** The first extension of each format, for messages: "mp4, mov, …". */
std::string writableVideoExtensions();

/** Properties of an encoder. */
struct EncoderTraits {
  int qualityScale = 0;       // largest value of its option "crf"; 0 if it takes a quantiser
  bool needsEvenSize = false; // with halved chroma
  bool takesAnyTimes = false; // otherwise frames are counted at a fixed rate
};

EncoderTraits traitsOf(const AVCodec& encoder);

/** Sets the quality, 1 to 100, of an encoder before it is opened. */
void setVideoQuality(AVCodecContext& encoder, int quality);

/** The encoder for frames whose source has this many bits per sample. */
const char* usualEncoder(const VideoFormat& format, int bits);

/** Whether it belongs to the MP4 family. */
bool isMp4(const AVOutputFormat& muxer);

/**
 * The layout for the encoder: with the source's bits if it supports them, and as close to NV12 as
 * possible, or with full chroma if that is wanted or an odd size needs it.
 */
AVPixelFormat chooseLayout(const AVCodec& encoder, const StreamProperties& properties,
                           bool wholeChroma);

} // namespace tlux::app

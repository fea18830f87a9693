#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "media/av.hpp"
#include "video/frame_stream.hpp"

namespace tlux::app {

/** A container that videos are written in, with the encoder that suits it. */
struct VideoFormat {
  const char* muxer; // FFmpeg's names
  const char* encoder;
  const char* deepEncoder; // for more than 8 bits, where players want another one; may be null
  std::vector<const char*> extensions; // lower case, without the dot
  bool keepsTimes = false;             // of each frame; elsewhere they follow at a fixed rate
  bool keepsRotation = false;          // as a display matrix; elsewhere frames are turned
};

/** The format of an extension; null when there is none or FFmpeg lacks its muxer. */
const VideoFormat* findVideoFormat(const std::string& extension);

/** The first extension of each format, for messages: "mp4, mov, …". */
std::string writableVideoExtensions();

/** What an encoder asks for. */
struct EncoderTraits {
  int qualityScale = 0;       // largest value of its option "crf"; 0 if it takes a quantiser
  bool needsEvenSize = false; // with halved chroma
  bool takesAnyTimes = false; // otherwise frames are counted at a fixed rate
};

EncoderTraits traitsOf(const AVCodec& encoder);

/** Sets the quality, 1 to 100, of an encoder that has yet to be opened. */
void setVideoQuality(AVCodecContext& encoder, int quality);

/** The encoder for frames whose source has this many bits a sample. */
const char* usualEncoder(const VideoFormat& format, int bits);

/** Whether it is one of the family of MP4 files. */
bool isMp4(const AVOutputFormat& muxer);

/**
 * The layout to give the encoder: with the bits of the source as far as it takes them, and as close
 * to NV12 as it takes, or with whole chroma if it can.
 */
AVPixelFormat chooseLayout(const AVCodec& encoder, const StreamProperties& properties,
                           bool wholeChroma);

} // namespace tlux::app

// The native half of org.tlux.camera.FrameOptimizer.
#include <jni.h>

#include <memory>
#include <new>

#include "camera_frame.hpp"

namespace {

// The state of a Java object: the engine, and the picture that planar frames are copied into.
struct Optimizer {
  Optimizer(std::int32_t frameWidth, std::int32_t frameHeight)
      : width(frameWidth), height(frameHeight), gathered(width, height, TLUX_FMT_YCBCR420_YPVU) {}

  std::int32_t width, height;
  tlux::Engine engine;
  tlux::Image gathered;
};

// The memory of a direct buffer; empty for any other buffer.
std::span<std::uint8_t> bytesOf(JNIEnv* env, jobject buffer) {
  if (buffer == nullptr) return {};
  auto* const address = static_cast<std::uint8_t*>(env->GetDirectBufferAddress(buffer));
  const jlong capacity = env->GetDirectBufferCapacity(buffer);
  if (address == nullptr || capacity < 0) return {};
  return {address, static_cast<std::size_t>(capacity)};
}

std::int32_t outputPitch(std::int32_t width) {
  return (width + 3) / 4 * 4;
}

} // namespace

// A handle, or 0 if memory runs out.
extern "C" JNIEXPORT jlong JNICALL Java_org_tlux_camera_FrameOptimizer_create(JNIEnv*, jclass,
                                                                              jint width,
                                                                              jint height) {
  std::unique_ptr<Optimizer> made(new (std::nothrow) Optimizer(width, height));
  if (!made || !made->engine || !made->gathered) return 0;
  return reinterpret_cast<jlong>(made.release());
}

extern "C" JNIEXPORT void JNICALL Java_org_tlux_camera_FrameOptimizer_destroy(JNIEnv*, jclass,
                                                                              jlong handle) {
  delete reinterpret_cast<Optimizer*>(handle);
}

// The format of the result (TLUX_FMT_YCBCR420_*), or a result code, negated.
extern "C" JNIEXPORT jint JNICALL Java_org_tlux_camera_FrameOptimizer_optimize(
    JNIEnv* env, jclass, jlong handle, jobject y, jint yRowStride, jobject u, jobject v,
    jint chromaRowStride, jint chromaPixelStride, jint strength, jobject output) {
  auto& optimizer = *reinterpret_cast<Optimizer*>(handle);
  const camera::Frame frame = {optimizer.width,
                               optimizer.height,
                               {bytesOf(env, y), yRowStride, 1},
                               {bytesOf(env, u), chromaRowStride, chromaPixelStride},
                               {bytesOf(env, v), chromaRowStride, chromaPixelStride}};
  if (!camera::isWhole(frame) || strength < 0) return -static_cast<jint>(TLUX_ERR_INVALID_PARAM);

  std::optional<TLUX_IMAGE> source = camera::viewInterleaved(frame);
  if (!source) {
    camera::gather(frame, optimizer.gathered);
    source = *optimizer.gathered;
  }
  const std::int32_t pitch = outputPitch(frame.width);
  const std::size_t lumaSize = std::size_t(pitch) * frame.height;
  const std::span<std::uint8_t> memory = bytesOf(env, output);
  if (memory.size() < lumaSize) return -static_cast<jint>(TLUX_ERR_INVALID_PARAM);
  std::optional<TLUX_IMAGE> result =
      tlux::frameOver(source->format, frame.width, frame.height, {memory.first(lumaSize), pitch},
                      {memory.subspan(lumaSize), pitch});
  if (!result) return -static_cast<jint>(TLUX_ERR_INVALID_PARAM);
  const std::uint32_t code =
      optimizer.engine.run(*source, *result, static_cast<std::uint32_t>(strength));
  return code == TLUX_OK ? static_cast<jint>(source->format) : -static_cast<jint>(code);
}

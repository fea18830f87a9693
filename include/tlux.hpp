/**
 * @file tlux.hpp
 * @brief The engine, streams, images and pools as RAII objects for C++20. Header-only and optional:
 * everything here is a thin wrapper over the C interface and mixes with it freely.
 *
 * Nothing throws. After a failed constructor, the object converts to false and status() gives the
 * reason. Objects keep the handle of their pool, so they must be destroyed before the pool's memory
 * is released.
 */
#ifndef TLUX_HPP
#define TLUX_HPP

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <utility>

#include "tlux.h"

namespace tlux {

/**
 * Where memory comes from: the heap, or a block that the caller owns. A handle, cheap to copy;
 * copies refer to the same pool. A pool is used by one thread at a time.
 */
class Pool {
 public:
  /** The C heap. */
  static Pool heap() noexcept { return Pool(nullptr); }

  /** Initialises a block as a pool; nullopt if the block is too small for one. */
  static std::optional<Pool> over(std::span<std::byte> block) noexcept {
    const MMemMgr manager = MMemMgrCreate(block.data(), block.size());
    if (manager == nullptr) return std::nullopt;
    return Pool(manager);
  }

  /** The handle for the C interface; null for the heap. */
  [[nodiscard]] MMemMgr handle() const noexcept { return manager_; }

  /** Bytes that one allocation can get; 0 for the heap, where this is unknown. */
  [[nodiscard]] std::int64_t largestFree() const noexcept {
    return manager_ == nullptr ? 0 : GetMaxAllocMemSize(manager_);
  }

 private:
  explicit Pool(MMemMgr manager) noexcept : manager_(manager) {}

  MMemMgr manager_;
};

/** An image that owns its pixels (TLUX_CreateImage_IMK()). They are not cleared. */
class Image {
 public:
  /** @param format one of TLUX_FMT_*. */
  Image(std::int32_t width, std::int32_t height, std::uint32_t format,
        Pool pool = Pool::heap()) noexcept
      : pool_(pool), status_(TLUX_CreateImage_IMK(&image_, width, height, format, pool.handle())) {}

  Image(Image&& other) noexcept
      : pool_(other.pool_), image_(std::exchange(other.image_, nullptr)), status_(other.status_) {}

  Image& operator=(Image&& other) noexcept {
    std::swap(pool_, other.pool_);
    std::swap(image_, other.image_);
    std::swap(status_, other.status_);
    return *this;
  }

  ~Image() { TLUX_FreeImage_IMK(&image_, pool_.handle()); }

  explicit operator bool() const noexcept { return image_ != nullptr; }

  /** Result code of the creation. */
  [[nodiscard]] std::uint32_t status() const noexcept { return status_; }

  /** The record; only valid if the image was created. */
  [[nodiscard]] TLUX_IMAGE& operator*() noexcept { return *image_; }
  [[nodiscard]] const TLUX_IMAGE& operator*() const noexcept { return *image_; }
  [[nodiscard]] TLUX_IMAGE* operator->() noexcept { return image_; }
  [[nodiscard]] const TLUX_IMAGE* operator->() const noexcept { return image_; }

  /** Row @p y of a plane, padding included. The row must lie within the plane. */
  [[nodiscard]] std::span<std::uint8_t> row(std::size_t plane, std::int32_t y) noexcept {
    const std::ptrdiff_t pitch = image_->pitch[plane];
    return {image_->plane[plane] + y * pitch, static_cast<std::size_t>(pitch)};
  }
  [[nodiscard]] std::span<const std::uint8_t> row(std::size_t plane,
                                                  std::int32_t y) const noexcept {
    const std::ptrdiff_t pitch = image_->pitch[plane];
    return {image_->plane[plane] + y * pitch, static_cast<std::size_t>(pitch)};
  }

 private:
  Pool pool_;
  TLUX_IMAGE* image_ = nullptr;
  std::uint32_t status_;
};

/** One plane of a frame: its memory, and bytes from one row to the next. */
struct FramePlane {
  std::span<std::uint8_t> bytes;
  std::int32_t pitch;
};

/**
 * The record of an NV21 or NV12 frame in the caller's memory; nullopt if a plane's memory ends
 * before its last row does, or a pitch is below the width.
 * @param format YCBCR420_YPVU (NV21) or YCBCR420_YPUV (NV12).
 * @param width,height in pixels; even.
 * @param chroma interleaved pairs, half as many rows as the luma.
 */
[[nodiscard]] inline std::optional<TLUX_IMAGE> frameOver(std::uint32_t format, std::int32_t width,
                                                         std::int32_t height, FramePlane luma,
                                                         FramePlane chroma) noexcept {
  const auto holds = [width](const FramePlane& plane, std::int32_t rows) {
    const std::int64_t needed = rows == 0 ? 0 : (rows - std::int64_t{1}) * plane.pitch + width;
    return plane.pitch >= width && static_cast<std::uint64_t>(needed) <= plane.bytes.size();
  };
  if (format != TLUX_FMT_YCBCR420_YPVU && format != TLUX_FMT_YCBCR420_YPUV) return std::nullopt;
  if (width < 0 || height < 0 || width % 2 != 0 || height % 2 != 0) return std::nullopt;
  if (!holds(luma, height) || !holds(chroma, height / 2)) return std::nullopt;
  const std::array planes = {luma.bytes.data(), chroma.bytes.data()};
  const std::array pitches = {luma.pitch, chroma.pitch};
  TLUX_IMAGE image = {};
  TLUX_SetImage_IMK(&image, width, height, format, planes.data(), pitches.data());
  return image;
}

/** The engine (TLUX_Init()). Keep one per sequence of frames; one thread at a time. */
class Engine {
 public:
  explicit Engine(Pool pool = Pool::heap()) noexcept
      : pool_(pool), status_(TLUX_Init(pool.handle(), &engine_)) {}

  Engine(Engine&& other) noexcept
      : pool_(other.pool_),
        engine_(std::exchange(other.engine_, nullptr)),
        status_(other.status_) {}

  Engine& operator=(Engine&& other) noexcept {
    std::swap(pool_, other.pool_);
    std::swap(engine_, other.engine_);
    std::swap(status_, other.status_);
    return *this;
  }

  ~Engine() {
    if (engine_ != nullptr) TLUX_Uninit(pool_.handle(), engine_);
  }

  explicit operator bool() const noexcept { return engine_ != nullptr; }

  /** Result code of the creation. */
  [[nodiscard]] std::uint32_t status() const noexcept { return status_; }

  /** The engine for the C interface; null if its creation failed or it was moved from. */
  [[nodiscard]] TLUX_ENGINE* get() noexcept { return engine_; }

  /** TLUX_RunDynamicRangeOptimizationImage(); an empty engine is a bad argument. */
  [[nodiscard]] std::uint32_t run(const TLUX_IMAGE& source, TLUX_IMAGE& output,
                                  std::uint32_t strength) noexcept {
    return TLUX_RunDynamicRangeOptimizationImage(pool_.handle(), engine_, &source, 1, &output,
                                                 &strength, 0);
  }

 private:
  Pool pool_;
  TLUX_ENGINE* engine_ = nullptr;
  std::uint32_t status_;
};

/** A stream (TLUX_OpenStream()). One thread at a time. */
class Stream {
 public:
  /** The options for TLUX_TONES_*, to be adjusted as needed. */
  [[nodiscard]] static TLUX_STREAM_OPTIONS options(std::uint32_t tones) noexcept {
    TLUX_STREAM_OPTIONS options = {};
    TLUX_InitStreamOptions(&options, sizeof options, tones);
    return options;
  }

  explicit Stream(const TLUX_STREAM_OPTIONS& options, Pool pool = Pool::heap()) noexcept
      : status_(TLUX_OpenStream(pool.handle(), &options, &stream_)) {}

  /** With natural tones. */
  explicit Stream(Pool pool = Pool::heap()) noexcept : Stream(options(TLUX_TONES_NATURAL), pool) {}

  Stream(Stream&& other) noexcept
      : stream_(std::exchange(other.stream_, nullptr)), status_(other.status_) {}

  Stream& operator=(Stream&& other) noexcept {
    std::swap(stream_, other.stream_);
    std::swap(status_, other.status_);
    return *this;
  }

  ~Stream() { TLUX_CloseStream(&stream_); }

  explicit operator bool() const noexcept { return stream_ != nullptr; }

  /** Result code of the opening. */
  [[nodiscard]] std::uint32_t status() const noexcept { return status_; }

  /** The stream for the C interface; null if it failed to open or was moved from. */
  [[nodiscard]] TLUX_STREAM* get() noexcept { return stream_; }

  /** TLUX_RunStream(); an empty stream is a bad argument. */
  [[nodiscard]] std::uint32_t run(const TLUX_IMAGE& source, const TLUX_IMAGE& output,
                                  std::uint32_t strength) noexcept {
    return TLUX_RunStream(stream_, &source, &output, strength);
  }

  /** The same, in place. */
  [[nodiscard]] std::uint32_t run(const TLUX_IMAGE& frame, std::uint32_t strength) noexcept {
    return run(frame, frame, strength);
  }

  /** TLUX_ChangeStream(). */
  [[nodiscard]] std::uint32_t change(const TLUX_STREAM_OPTIONS& options) noexcept {
    return TLUX_ChangeStream(stream_, &options);
  }

  /** TLUX_ResetStream(). */
  void reset() noexcept { TLUX_ResetStream(stream_); }

  /** What the stream saw in its latest frame; nullopt before the first. */
  [[nodiscard]] std::optional<TLUX_STREAM_REPORT> report() const noexcept {
    TLUX_STREAM_REPORT report = {};
    report.size = sizeof report;
    if (TLUX_ReadStreamReport(stream_, &report) != TLUX_OK) return std::nullopt;
    return report;
  }

 private:
  TLUX_STREAM* stream_ = nullptr;
  std::uint32_t status_;
};

} // namespace tlux

#endif // TLUX_HPP

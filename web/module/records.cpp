// The package fills the records of the interface byte by byte: this is the layout it relies on, the
// one of web/package/records.ts.
#include <cstddef>

#include "tlux.h"

static_assert(sizeof(void*) == 4);

static_assert(offsetof(TLUX_IMAGE, format) == 0);
static_assert(offsetof(TLUX_IMAGE, width) == 4);
static_assert(offsetof(TLUX_IMAGE, height) == 8);
static_assert(offsetof(TLUX_IMAGE, plane) == 12);
static_assert(offsetof(TLUX_IMAGE, pitch) == 28);
static_assert(sizeof(TLUX_IMAGE) == 44);

static_assert(offsetof(TLUX_PICTURE, pixels) == 0);
static_assert(offsetof(TLUX_PICTURE, pitch) == 8);
static_assert(offsetof(TLUX_PICTURE, width) == 16);
static_assert(offsetof(TLUX_PICTURE, height) == 20);
static_assert(offsetof(TLUX_PICTURE, layout) == 24);
static_assert(sizeof(TLUX_PICTURE) == 32);

static_assert(offsetof(TLUX_STREAM_OPTIONS, size) == 0);
static_assert(offsetof(TLUX_STREAM_OPTIONS, range) == 4);
static_assert(offsetof(TLUX_STREAM_OPTIONS, steady) == 8);
static_assert(offsetof(TLUX_STREAM_OPTIONS, colour) == 12);
static_assert(offsetof(TLUX_STREAM_OPTIONS, fineWindows) == 16);
static_assert(offsetof(TLUX_STREAM_OPTIONS, threads) == 20);
static_assert(sizeof(TLUX_STREAM_OPTIONS) >= 40);

static_assert(offsetof(TLUX_STREAM_REPORT, size) == 0);
static_assert(offsetof(TLUX_STREAM_REPORT, width) == 4);
static_assert(offsetof(TLUX_STREAM_REPORT, height) == 8);
static_assert(offsetof(TLUX_STREAM_REPORT, referencePitch) == 12);
static_assert(offsetof(TLUX_STREAM_REPORT, reference) == 16);
static_assert(offsetof(TLUX_STREAM_REPORT, scores) == 20);
static_assert(offsetof(TLUX_STREAM_REPORT, gains) == 24);
static_assert(offsetof(TLUX_STREAM_REPORT, mean) == 28);
static_assert(offsetof(TLUX_STREAM_REPORT, anchor) == 32);
static_assert(sizeof(TLUX_STREAM_REPORT) >= 44);

static_assert(offsetof(TLUX_VERSION, version) == 32);

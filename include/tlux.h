/**
 * @file tlux.h
 * @brief The whole exported interface of tlux: dynamic range optimization of NV21 and NV12 frames
 *        and the toolkit of image operations it is built from.
 *
 * Plain C, usable from C99 and from C++11 on. Each part can also be included on its own.
 */
#ifndef TLUX_H
#define TLUX_H

#include "tlux/base.h"
#include "tlux/box_blur.h"
#include "tlux/copy.h"
#include "tlux/detail.h"
#include "tlux/engine.h"
#include "tlux/equalization.h"
#include "tlux/fast_guided_filter.h"
#include "tlux/gain_lines.h"
#include "tlux/guided_filter.h"
#include "tlux/histogram_match.h"
#include "tlux/image.h"
#include "tlux/image_list.h"
#include "tlux/mark.h"
#include "tlux/mask.h"
#include "tlux/nv21_tools.h"
#include "tlux/platform.h"
#include "tlux/region.h"
#include "tlux/resample.h"
#include "tlux/resize.h"
#include "tlux/retinex.h"
#include "tlux/rgb.h"
#include "tlux/selection.h"
#include "tlux/simple_image.h"
#include "tlux/smoothing.h"
#include "tlux/statistics.h"
#include "tlux/stream.h"
#include "tlux/tone.h"
#include "tlux/tone_stage.h"
#include "tlux/transfer.h"
#include "tlux/upscale.h"

#endif /* TLUX_H */

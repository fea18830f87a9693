/**
 * @file transfer.h
 * @brief The sRGB transfer curves (IEC 61966-2-1) between 8-bit codes and 12-bit linear light.
 */
#ifndef TLUX_TRANSFER_H
#define TLUX_TRANSFER_H

#include "base.h"

TLUX_BEGIN_DECLS

/**
 * @defgroup transfer Transfer tables
 * Constant data. Decoding and then encoding any of the 256 codes returns that code.
 * @{
 */

/** Entry i = round(4095 · L(i / 255)), L the sRGB decoding function: 8-bit code to linear 0..4095.
 */
extern TLUX_API const uint16_t TLUX_Degamma_Table[256];

/** Entry i = round(255 · E(i / 4095)), E the sRGB encoding function: linear 0..4095 to 8-bit code.
 */
extern TLUX_API const uint8_t TLUX_Gamma_Table8[4096];

/** @} */

TLUX_END_DECLS

#endif /* TLUX_TRANSFER_H */

// Memory layout of the records of the C interface; web/module/records.cpp checks the offsets.
import type { Module } from './module.js';

export const kNv12 = 0x801;
export const kNv21 = 0x802;
const kRgba = 1;

const kImageBytes = 44;
const kPictureBytes = 32;
export const kOptionsBytes = 40;
export const kReportBytes = 44;

export interface ImageRecord {
  readonly format: number;
  readonly width: number;
  readonly height: number;
  readonly luma: number;
  readonly chroma: number;
}

/** Calls `use` with the address of a TLUX_IMAGE whose rows have no gaps. */
export function withImage<Result>(
  module: Module,
  image: ImageRecord,
  use: (address: number) => Result,
): Result {
  return module.withBlock(kImageBytes, (address, view) => {
    view.setUint32(0, image.format, true);
    view.setInt32(4, image.width, true);
    view.setInt32(8, image.height, true);
    view.setUint32(12, image.luma, true);
    view.setUint32(16, image.chroma, true);
    view.setInt32(28, image.width, true);
    view.setInt32(32, image.width, true);
    return use(address);
  });
}

/** Calls `use` with the address of a TLUX_PICTURE over RGBA rows without gaps. */
export function withPicture<Result>(
  module: Module,
  picture: { readonly address: number; readonly width: number; readonly height: number },
  use: (address: number) => Result,
): Result {
  return module.withBlock(kPictureBytes, (address, view) => {
    view.setUint32(0, picture.address, true);
    view.setBigInt64(8, BigInt(picture.width * 4), true);
    view.setInt32(16, picture.width, true);
    view.setInt32(20, picture.height, true);
    view.setUint32(24, kRgba, true);
    return use(address);
  });
}

export const kOptionOffset = {
  size: 0,
  range: 4,
  steady: 8,
  colour: 12,
  fineWindows: 16,
  threads: 20,
} as const;

export interface ReportRecord {
  readonly width: number;
  readonly height: number;
  readonly referencePitch: number;
  readonly reference: number;
  readonly scores: number;
  readonly gains: number;
  readonly mean: number;
  readonly anchor: number;
  readonly isCut: boolean;
}

/** Reads a TLUX_STREAM_REPORT. */
export function readReport(view: DataView): ReportRecord {
  return {
    width: view.getInt32(4, true),
    height: view.getInt32(8, true),
    referencePitch: view.getInt32(12, true),
    reference: view.getUint32(16, true),
    scores: view.getUint32(20, true),
    gains: view.getUint32(24, true),
    mean: view.getInt32(28, true),
    anchor: view.getInt32(32, true),
    isCut: view.getUint32(36, true) === 1,
  };
}

/** Offset of the text of a TLUX_VERSION. */
export const kVersionText = 32;

#!/usr/bin/python3
"""Measures what the library's tones and two peers do to pictures, and prints tables in Markdown.

usage: scripts/quality.py [--strength N] [--quick] [--check] [PICTURE | FOLDER ...]

The default pictures are those in examples/images. --quick skips the ramps, --check fails if a figure is worse than its
bar. Build the library first (cmake --preset release), or name one in TLUX_LIBRARY. The files in
scripts/quality_measures explain each figure and name its source.
"""

import argparse
import sys
from pathlib import Path

import numpy as np

from quality_measures import appearance, methods, pictures, smoothness, steadiness

import tlux  # which quality_measures has found

ROOT = Path(__file__).resolve().parent.parent

MEASURES = {
    "clipped, points added": lambda before, after: appearance.clipped(after) - appearance.clipped(before),
    "lightness order error, %": appearance.lightness_order_error,
    "hue shift, degrees": appearance.hue_shift,
    "chroma ratio": appearance.chroma_ratio,
    "halo overshoot, codes": appearance.halo_overshoot,
    "shadow noise ratio": appearance.shadow_noise_ratio,
    "mean luma": lambda before, after: float(appearance.luma(after[::4, ::4]).mean()),
}
# "natural, levels of exact" differs from exact only in colour and in the precision of the fit, so these can be compared
# at equal brightness.
STREAMS = {"exact": ("exact", {}), "natural": ("natural", {}), "natural, levels of exact": ("natural", {"steady": 0})}
METHODS = (*STREAMS, "CLAHE", "gamma")

# Limits for natural tones, for each picture or for the mean of the pictures.
BARS = {
    "largest jump of a block, codes": 6.0,
    "largest step of the mean, codes": 1.5,
    "lamp, first frame, codes": 0.7,
    "lamp, after 24 frames, codes": 0.25,
    "smooth areas, codes": 1.0,
}
MEAN_BARS = {"clipped, points added": 4.0}
# Codes of luma between exact and natural with the levels of exact. Six photographs differ by 0.7, single ones by 1.3.
LARGEST_CHANGE_OF_MEAN = 1.25


def stream_of(tones, **options):
    return tlux.Stream(exact=tones == "exact", **options)


def results(rgb, strength):
    """The picture processed by each available method."""
    y, uv = tlux.rgb_to_frame(rgb)
    found = {name: tlux.frame_to_rgb(*stream_of(tones, **options).run(y, uv, strength=strength))
             for name, (tones, options) in STREAMS.items()}
    equalized = methods.clahe(y)
    if equalized is not None:
        found["CLAHE"] = tlux.frame_to_rgb(equalized, uv)
    found["gamma"] = methods.gamma_to_mean(rgb, appearance.luma(found["natural"][::4, ::4]).mean())
    return found


def measured(rgb, strength):
    """Figures by measure and method."""
    before = pictures.without_mark(rgb)
    after = {name: pictures.without_mark(result) for name, result in results(rgb, strength).items()}
    return {measure: {name: of(before, picture) for name, picture in after.items()}
            for measure, of in MEASURES.items()}


def ramps(rgb, tones):
    y, uv = tlux.rgb_to_frame(rgb)
    stream = stream_of(tones)
    lowest, highest = steadiness.ramp_of_means(stream, y, uv)
    first, left = steadiness.lamp(stream_of(tones, **({"steady": 8} if tones == "natural" else {})), y, uv)
    return {
        "largest jump of a block, codes": steadiness.largest_jump(stream, y, uv),
        "smallest step of the mean, codes": lowest,
        "largest step of the mean, codes": highest,
        "lamp, first frame, codes": first,
        "lamp, after 24 frames, codes": left,
        "smooth areas, codes": smoothness.largest_difference(stream, y, uv),
    }


def show(title, header, rows):
    print(f"\n### {title}\n\n| {' | '.join(header)} |\n|{'---|' * len(header)}")
    for name, values in rows:
        print(f"| {name} | {' | '.join('' if v is None else f'{v:.2f}' for v in values)} |")


def mean_table(figures):
    names = [name for name in METHODS if any(name in of for of in next(iter(figures.values())).values())]
    rows = []
    for measure in MEASURES:
        rows.append((measure, [float(np.mean([of[measure][name] for of in figures.values()])) for name in names]))
    show("Mean of the pictures", ["Measure", *names], rows)


def picture_tables(figures):
    for tones in ("natural", "exact"):
        show(f"By picture, {tones}", ["Picture", *MEASURES],
             [(name, [of[measure][tones] for measure in MEASURES]) for name, of in figures.items()])


def failures(figures, ramped):
    for name, of in ramped.items():
        for measure, bar in BARS.items():
            if of["natural"][measure] > bar:
                yield f"{name}: {measure}: {of['natural'][measure]:.2f}, bar {bar}"
        if of["natural"]["smallest step of the mean, codes"] < 0:
            yield f"{name}: the mean falls where the input's rises"
    for measure, bar in MEAN_BARS.items():
        for name in ("natural", "natural, levels of exact"):
            mean = np.mean([of[measure][name] for of in figures.values()])
            if mean > bar:
                yield f"{measure}: {name}: {mean:.2f} in the mean, bar {bar}"
    change = np.mean([of["mean luma"]["natural, levels of exact"] - of["mean luma"]["exact"] for of in figures.values()])
    if abs(change) > LARGEST_CHANGE_OF_MEAN:
        yield f"mean luma differs from exact by {change:.2f} codes in the mean"


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n", maxsplit=1)[0])
    parser.add_argument("pictures", nargs="*", default=[ROOT / "examples/images"])
    parser.add_argument("--strength", type=int, default=steadiness.STRENGTH)
    parser.add_argument("--quick", action="store_true", help="skip the ramps")
    parser.add_argument("--check", action="store_true", help="fail if a figure is worse than its bar")
    options = parser.parse_args()

    figures, ramped = {}, {}
    for path in pictures.find(options.pictures):
        rgb = pictures.read(path)
        figures[path.stem] = measured(rgb, options.strength)
        if not options.quick:
            ramped[path.stem] = {tones: ramps(rgb, tones) for tones in ("exact", "natural")}
    if not figures:
        parser.error("no pictures")

    mean_table(figures)
    picture_tables(figures)
    for tones in ("natural", "exact") if ramped else ():
        header = list(next(iter(ramped.values()))[tones])
        show(f"Steadiness, {tones}", ["Picture", *header], [(name, of[tones].values()) for name, of in ramped.items()])

    found = list(failures(figures, ramped)) if options.check else []
    for failure in found:
        print(failure, file=sys.stderr)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())

#!/usr/bin/env python3
"""Times the GStreamer element next to its peers and prints a table.

usage: scripts/bench_pipelines.py [WIDTHxHEIGHT]      (default: 1920x1080)

The element from build/release, which must be configured, runs between videotestsrc and fakesink. Each figure is the
time of a long pipeline minus that of a short one, each the minimum of several, divided by the difference in frames,
minus the same figure for identity. Processor time covers all threads; it is steadier on a busy machine.
"""

import os
import re
import resource
import subprocess
import sys
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
PLUGIN = ROOT / "build/release/plugins/gstreamer"
RUNS = 3
NV12, RGB = "NV12", "RGB"
BASELINE = "identity"
# The element and the frames of its short and of its long pipeline.
ROWS = (
    (NV12, BASELINE, 10, 60),
    (NV12, "tlux threads=1", 10, 60),
    (NV12, "tlux", 10, 60),
    (NV12, "tlux exact=true threads=1", 10, 60),
    (NV12, "tlux strength=0", 10, 60),
    (RGB, BASELINE, 10, 60),
    (RGB, "retinex method=basic", 2, 6),
    (RGB, "retinex method=multiscale", 2, 4),
)


def measure(pipeline, frames):
    """Processor and real time of a pipeline, in seconds."""
    used, began = resource.getrusage(resource.RUSAGE_CHILDREN), time.monotonic()
    subprocess.run(["gst-launch-1.0", "-q", *pipeline.format(frames=frames).split()], check=True,
                   env={**os.environ, "GST_PLUGIN_PATH": str(PLUGIN)})
    real, now = time.monotonic() - began, resource.getrusage(resource.RUSAGE_CHILDREN)
    return now.ru_utime + now.ru_stime - used.ru_utime - used.ru_stime, real


def main():
    subprocess.run(["cmake", "--build", "build/release", "--target", "tlux_gstreamer"], cwd=ROOT, check=True,
                   stdout=subprocess.DEVNULL)
    size = re.fullmatch(r"(\d+)x(\d+)", sys.argv[1] if len(sys.argv) > 1 else "1920x1080")
    if size is None:
        sys.exit(__doc__)
    least = {}
    for _ in range(RUNS):  # in turns, so that other work disturbs all alike
        for layout, element, short, long in ROWS:
            pipeline = (f"videotestsrc pattern=gradient num-buffers={{frames}} ! video/x-raw,format={layout},"
                        f"width={size[1]},height={size[2]} ! {element} ! fakesink")
            for frames in (short, long):
                times = measure(pipeline, frames)
                least[layout, element, frames] = tuple(map(min, times, least.get((layout, element, frames), times)))

    def per_frame(layout, element, short, long):
        return [(more - fewer) / (long - short) * 1000
                for more, fewer in zip(least[layout, element, long], least[layout, element, short])]

    base = {row[0]: per_frame(*row) for row in ROWS if row[1] == BASELINE}

    print("| Format | Element | Processor ms a frame | Real ms a frame |\n|---|---|---:|---:|")
    for row in ROWS:
        layout, element = row[:2]
        if element != BASELINE:
            cpu, real = (mine - its for mine, its in zip(per_frame(*row), base[layout]))
            print(f"| {layout} | `{element}` | {cpu:.1f} | {real:.1f} |")


if __name__ == "__main__":
    main()

"""How tones follow the light, over exposures of one picture and over the frames of a video."""

import numpy as np

from .pictures import block_means, exposure_curve, without_mark

STRENGTH = 50


def frames_of(stream, y, uv, exposures):
    """Input and output luma for each exposure, each processed as a separate frame."""
    for exposure in exposures:
        source = exposure_curve(exposure)[y]
        stream.reset()
        yield without_mark(source), without_mark(stream.run(source, uv, strength=STRENGTH)[0])


def largest_jump(stream, y, uv, step=1.01, first=0.3, last=3.0):
    """Codes by which a 16 x 16 block moves more than its input's step times its gain, over an exposure ramp.

    The gain is that of the block: its mean after over before.
    """
    exposures = first * step ** np.arange(int(np.log(last / first) / np.log(step)) + 1)
    worst, before = 0.0, None
    for source, result in frames_of(stream, y, uv, exposures):
        now = block_means(source), block_means(result)
        if before is not None:
            gain = np.maximum(now[1], before[1]) / np.maximum(np.minimum(now[0], before[0]), 1)
            excess = np.abs(now[1] - before[1]) - np.abs(now[0] - before[0]) * np.maximum(gain, 1)
            worst = max(worst, float(excess.max()))
        before = now
    return worst


def exposure_for_mean(y, mean):
    counts = np.bincount(y.ravel(), minlength=256) / y.size
    low, high = 0.01, 100.0
    for _ in range(40):
        exposure = (low * high) ** 0.5
        if counts @ exposure_curve(exposure) < mean:
            low = exposure
        else:
            high = exposure
    return exposure


def ramp_of_means(stream, y, uv, means=range(180, 201)):
    """Smallest and largest step of the output's mean when the input's mean rises code by code."""
    outputs = [result.mean() for _, result in
               frames_of(stream, y, uv, [exposure_for_mean(y, mean) for mean in means])]
    steps = np.diff(outputs)
    return float(steps.min()), float(steps.max())


def lamp(stream, y, uv, share=0.02, level=250):
    """A lamp of a share of the area comes on in the upper left corner of a static scene: the largest move of a block
    in the far half in the first frame, and what is left to go after 24."""
    side = int(np.sqrt(share * y.size))
    lit = y.copy()
    lit[:side, :side] = level
    stream.reset()

    def far(source):
        means = block_means(without_mark(stream.run(source, uv, strength=STRENGTH)[0]))
        return means[:, means.shape[1] // 2:]

    for _ in range(4):
        dark = far(y)
    moves = [far(lit) for _ in range(60)]
    return float(np.abs(moves[0] - dark).max()), float(np.abs(moves[24] - moves[-1]).max())

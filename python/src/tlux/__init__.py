"""tlux for NumPy: makes pictures and video frames of high-contrast scenes look right.

`enhance` processes a picture; `Stream` processes the frames of a decoder or camera without copying them. The other
functions are the library's toolkit. All take and return NumPy arrays, and may be called from several threads at once.
"""

from ._errors import Error
from ._library import library_file, library_version
from .frames import frame_to_rgb, rgb_to_frame
from .masks import dilation, erosion, label, regionprops
from .pictures import enhance
from .resizing import reduce_frame, resize
from .smoothing import box_blur, denoise_bilateral, guided_filter
from .stream import Report, Stream
from .tones import equalize_hist, equalize_tiles, match_histograms

__version__ = library_version()

__all__ = [
    "Error",
    "Report",
    "Stream",
    "__version__",
    "box_blur",
    "denoise_bilateral",
    "dilation",
    "enhance",
    "equalize_hist",
    "equalize_tiles",
    "erosion",
    "frame_to_rgb",
    "guided_filter",
    "label",
    "library_file",
    "library_version",
    "match_histograms",
    "reduce_frame",
    "regionprops",
    "resize",
    "rgb_to_frame",
]

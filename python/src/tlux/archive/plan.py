"""What to do: the files of a folder, and where their results go."""

from __future__ import annotations

import os
from dataclasses import dataclass
from pathlib import Path
from typing import Iterator, Optional, Sequence

# What every build of the command can write. Other pictures become PNG, since names in an archive must not depend on
# the machine that processes a file.
WRITABLE_PICTURES = frozenset("png jpg jpeg webp tiff tif bmp".split())
VIDEOS = frozenset("mp4 m4v mov qt mkv webm avi ts mts m2ts flv 3gp wmv asf ogv mpg mpeg vob mxf nut y4m".split())
OTHER_PICTURES = frozenset("avif heic heif jp2 jxl pam pbm pgm pnm ppm tga".split())


@dataclass(frozen=True)
class Job:
    source: str
    result: str

    def is_done(self) -> bool:
        """Whether there is a result no older than the source."""
        try:
            return os.stat(self.result).st_mtime_ns >= os.stat(self.source).st_mtime_ns
        except OSError:
            return False


def _extension(path: Path) -> str:
    return path.suffix[1:].lower()


def is_taken(path: Path) -> bool:
    """Whether the extension is that of a picture or video."""
    return _extension(path) in WRITABLE_PICTURES | VIDEOS | OTHER_PICTURES


def extension_wanted(options: Sequence[str]) -> Optional[str]:
    """The value of the command's option --as."""
    for i, option in enumerate(options):
        if option == "--as" and i + 1 < len(options):
            return options[i + 1]
        if option.startswith("--as="):
            return option[len("--as=") :]
    return None


def result_of(relative: Path, wanted: Optional[str]) -> Path:
    """The name of a result, below the folder for results."""
    if wanted is not None:
        return relative.with_suffix(f".{wanted}")
    return relative.with_suffix(".png") if _extension(relative) in OTHER_PICTURES else relative


def files_of(folder: Path, left_out: Path) -> Iterator[Path]:
    """Paths of all files below a folder, relative to it and in order; one folder is skipped."""
    for where, folders, names in os.walk(folder):
        folders[:] = sorted(name for name in folders if Path(where, name) != left_out)
        for name in sorted(names):
            yield Path(where, name).relative_to(folder)


def plan(source: Path, destination: Path, options: Sequence[str]) -> Iterator[Job]:
    """The jobs for all pictures and videos of a folder."""
    wanted = extension_wanted(options)
    for relative in files_of(source, destination):
        if is_taken(relative):
            yield Job(str(source / relative), str(destination / result_of(relative, wanted)))

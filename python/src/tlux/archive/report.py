"""The outcome: counts, failures, a progress line, and the report at the end."""

from __future__ import annotations

import json
import sys
import time
from dataclasses import asdict, dataclass, field
from pathlib import Path
from typing import Any, Dict, List

_LINE_INTERVAL = 0.2  # seconds


@dataclass
class Failure:
    file: str
    code: int
    reason: str


@dataclass
class Tally:
    """Counts while the work goes on."""

    done: int = 0
    skipped: int = 0
    failed: List[Failure] = field(default_factory=list)
    interrupted: bool = False
    started: float = field(default_factory=time.monotonic)

    @property
    def seconds(self) -> float:
        return time.monotonic() - self.started

    def exit_code(self) -> int:
        """The worst exit code of the files, as in the command."""
        if self.interrupted:
            return 130
        return max((failure.code for failure in self.failed), default=0)

    def as_record(self) -> Dict[str, Any]:
        seconds = self.seconds
        return {
            "done": self.done,
            "skipped": self.skipped,
            "failed": [asdict(failure) for failure in self.failed],
            "interrupted": self.interrupted,
            "seconds": round(seconds, 3),
            "per_second": round(self.done / seconds, 3) if seconds else 0,
        }

    def as_text(self) -> str:
        record = self.as_record()
        text = (
            f"{self.done} done, {self.skipped} skipped, {len(self.failed)} failed in {record['seconds']:.1f} s"
            f" ({record['per_second']:.1f} a second)"
        )
        return text + ", interrupted" if self.interrupted else text


class Console:
    """Failures as lines on standard error, and below them, on a terminal, the progress."""

    def __init__(self, tally: Tally, total: int) -> None:
        self._tally = tally
        self._total = total
        self._shows_progress = sys.stderr.isatty()
        self._shown = 0.0

    def fail(self, failure: Failure) -> None:
        self._tally.failed.append(failure)
        self.clear()
        print(f"tlux.archive: {failure.file}: {failure.reason}", file=sys.stderr, flush=True)

    def update(self) -> None:
        now = time.monotonic()
        if not self._shows_progress or now - self._shown < _LINE_INTERVAL:
            return
        self._shown = now
        tally = self._tally
        ended = tally.done + len(tally.failed)
        width = 30
        bar = "#" * (width * ended // max(1, self._total))
        rate = ended / max(tally.seconds, 1e-9)
        line = f"[{bar:<{width}}] {ended}/{self._total}  {rate:.1f} a second"
        print(f"\r\x1b[K{line}", end="", file=sys.stderr, flush=True)

    def clear(self) -> None:
        if self._shows_progress:
            print("\r\x1b[K", end="", file=sys.stderr, flush=True)


def write_report(tally: Tally, file: Path) -> None:
    file.write_text(json.dumps(tally.as_record(), indent=2, ensure_ascii=False) + "\n", encoding="utf-8")

"""One file on a worker. Sent to the workers as is: they need Dask and the command, but not this package."""

from __future__ import annotations

import os
import shutil
import subprocess
import time
from typing import List, Optional, Tuple

CANNOT_START = 127
TOO_LARGE = 3

Outcome = Tuple[int, str, float]
"""Exit code, what the command said when it failed, seconds."""


def memory_share() -> Optional[int]:
    """Bytes that this worker has for each file it processes; None if it has no limit."""
    from distributed import get_worker

    worker = get_worker()
    limit: Optional[int] = worker.memory_manager.memory_limit
    return limit // int(worker.state.nthreads) if limit else None


def _memory_of(process: "subprocess.Popen[str]") -> int:
    import psutil

    try:
        return int(psutil.Process(process.pid).memory_info().rss)
    except psutil.Error:  # it has just ended
        return 0


def _watch(process: "subprocess.Popen[str]", limit: Optional[int]) -> Tuple[str, bool]:
    """Waits for the end; returns what it wrote, and whether it was stopped for using too much memory."""
    interval = 0.02
    too_large = False
    while True:
        try:
            return process.communicate(timeout=interval)[1], too_large
        except subprocess.TimeoutExpired:
            if limit is not None and not too_large and _memory_of(process) > limit:
                too_large = True
                process.terminate()  # the command then removes what it has started


def _reason(messages: str, source: str) -> str:
    lines = [line for line in messages.splitlines() if line.strip()]
    last = lines[-1] if lines else "ended without a message"
    for prefix in ("tlux: ", f"{source}: "):
        if last.startswith(prefix):
            last = last[len(prefix) :]
    return last


def enhance_file(command: List[str], source: str, result: str) -> Outcome:
    """Runs the command on a file and waits for its end."""
    begin = time.monotonic()
    if shutil.which(command[0]) is None:
        return CANNOT_START, f"there is no command {command[0]!r}", 0.0
    os.makedirs(os.path.dirname(result), exist_ok=True)
    limit = memory_share()
    # A worker that dies takes the command with it, if the system supports that.
    ends_with_worker = ["setpriv", "--pdeathsig", "TERM", "--"] if shutil.which("setpriv") else []
    line = [*ends_with_worker, *command, source, "-o", result]
    with subprocess.Popen(
        line,
        stdin=subprocess.DEVNULL,
        stdout=subprocess.DEVNULL,
        stderr=subprocess.PIPE,
        text=True,
        errors="replace",
    ) as process:
        messages, too_large = _watch(process, limit)
    seconds = time.monotonic() - begin
    if too_large and process.returncode != 0:
        megabytes = (limit or 0) // 10**6
        return TOO_LARGE, f"needs more than the {megabytes} MB that a worker has for a file", seconds
    if process.returncode < 0:
        return TOO_LARGE, f"the command was ended by signal {-process.returncode}", seconds
    return process.returncode, _reason(messages, source) if process.returncode else "", seconds

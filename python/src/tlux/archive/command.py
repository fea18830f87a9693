"""The command line: its options, the cluster, and the summary at the end."""

from __future__ import annotations

import argparse
import asyncio
import contextlib
import logging
import os
import shutil
import sys
from concurrent.futures import CancelledError
from pathlib import Path
from typing import Any, Dict, Iterator, List, NoReturn, Optional, Sequence, Tuple

from .plan import Job, plan
from .report import Console, Failure, Tally, write_report

_USAGE = 1
_FAILED = 3
_PATIENCE = 30  # seconds
_OURS = ("-o", "--output", "-d", "--folder", "-j", "--jobs")

_EPILOG = """\
All other options go to 'tlux enhance', for instance --strength 40. Results keep their folders and appear when they
are complete; those no older than their source are kept, so the same command resumes after an interruption.
Exit codes: 0 done, 1 wrong usage, 2 unreadable input, 3 failed processing or writing, 130 interrupted.
"""


class Stop(Exception):
    """The work cannot go on."""

    def __init__(self, code: int, reason: str) -> None:
        super().__init__(reason)
        self.code = code


class _Parser(argparse.ArgumentParser):
    def error(self, message: str) -> NoReturn:
        self.print_usage(sys.stderr)
        self.exit(_USAGE, f"{self.prog}: {message}\n")


def _count(text: str) -> int:
    if not text.isdecimal() or int(text) < 1:
        raise argparse.ArgumentTypeError(f"{text!r} is no number above 0")
    return int(text)


def _parse(arguments: Optional[Sequence[str]]) -> Tuple[argparse.Namespace, List[str]]:
    parser = _Parser(
        prog="python -m tlux.archive",
        description="Enhance the pictures and videos of a folder.",
        epilog=_EPILOG,
        formatter_class=argparse.RawDescriptionHelpFormatter,
        allow_abbrev=False,
    )
    parser.add_argument("source", type=Path, metavar="SOURCE", help="folder to read")
    parser.add_argument("destination", type=Path, metavar="DESTINATION", help="folder for the results")
    where = parser.add_mutually_exclusive_group()
    where.add_argument("--scheduler", metavar="ADDRESS", help="a running scheduler, e.g. tcp://host:8786")
    where.add_argument("--workers", type=_count, metavar="N", help="on this machine; by default one per processor")
    parser.add_argument("--memory", default="auto", metavar="SIZE", help="per worker on this machine, e.g. 2GB")
    parser.add_argument("--command", default="tlux", metavar="FILE", help="the command tlux, if it is not in PATH")
    parser.add_argument("--force", action="store_true", help="redo files that are already done")
    parser.add_argument("--report", type=Path, metavar="FILE", help="also write the report as JSON")
    options, rest = parser.parse_known_args(arguments)
    for word in rest:
        if word.split("=")[0] in _OURS:
            parser.error(f"{word} cannot be given: results go to DESTINATION, one file at a time to each worker")
    if not options.source.is_dir():
        parser.error(f"{options.source} is no folder")
    options.source = options.source.resolve()
    options.destination = options.destination.resolve()
    if options.destination == options.source:
        parser.error("SOURCE and DESTINATION are the same folder")
    return options, rest


@contextlib.contextmanager
def _client(options: argparse.Namespace) -> Iterator[Any]:
    """A client of the given scheduler, or of one for the processors of this machine."""
    import dask
    from distributed import Client, LocalCluster

    if options.scheduler is not None:
        try:
            client = Client(options.scheduler, timeout="10s", set_as_default=False)
        except (OSError, ValueError) as error:
            raise Stop(_FAILED, f"{options.scheduler}: {error}") from None
        with client:
            try:
                client.wait_for_workers(1, timeout=_PATIENCE)
            except (TimeoutError, asyncio.TimeoutError):
                raise Stop(_FAILED, f"{options.scheduler}: no workers") from None
            yield client
        return
    # The first death of a worker is reported at once; how often to retry a file is decided here.
    dask.config.set({"distributed.scheduler.allowed-failures": 0})
    try:
        cluster = LocalCluster(
            n_workers=options.workers or len(os.sched_getaffinity(0)),
            threads_per_worker=1,
            memory_limit=options.memory,
            dashboard_address="127.0.0.1:0",
            silence_logs=logging.CRITICAL,
        )
    except ValueError as error:
        raise Stop(_USAGE, f"--memory {options.memory}: {error}") from None
    with cluster, Client(cluster, set_as_default=False) as client:
        yield client


def _pending(options: argparse.Namespace, rest: List[str], tally: Tally) -> List[Job]:
    """The jobs still to do; two files with the same result fail here."""
    jobs: List[Job] = []
    sources: Dict[str, str] = {}
    for job in plan(options.source, options.destination, rest):
        earlier = sources.setdefault(job.result, job.source)
        if earlier != job.source:
            reason = f"its result would overwrite that of {earlier}"
            Console(tally, 0).fail(Failure(job.source, _USAGE, reason))
        elif job.is_done() and not options.force:
            tally.skipped += 1
        else:
            jobs.append(job)
    return jobs


def _run(options: argparse.Namespace, rest: List[str], tally: Tally) -> None:
    from .dispatch import Dispatcher
    from .task import CANNOT_START

    jobs = _pending(options, rest, tally)
    if not jobs:
        return
    if options.scheduler is None and shutil.which(options.command) is None:
        raise Stop(_FAILED, f"there is no command {options.command!r}; use --command to give its path")
    console = Console(tally, len(jobs))

    def ended(job: Job, code: int, reason: str) -> None:
        if code == CANNOT_START:
            raise Stop(_FAILED, f"a worker cannot start: {reason}")
        if code == _USAGE and tally.done == 0:
            raise Stop(_USAGE, reason)
        if code == 0:
            tally.done += 1
        else:
            console.fail(Failure(job.source, code, reason))
        console.update()

    with _client(options) as client:
        dispatcher = Dispatcher(client, [options.command, "enhance", "--quiet", *rest], ended)
        try:
            dispatcher.run(jobs)
        except (OSError, CancelledError, asyncio.CancelledError) as error:
            raise Stop(_FAILED, f"lost the scheduler: {error or 'it cancelled the work'}") from None
        except BaseException:
            dispatcher.cancel()
            raise
        finally:
            console.clear()


def main(arguments: Optional[Sequence[str]] = None) -> int:
    """Runs the command line and returns its exit code."""
    options, rest = _parse(arguments)
    tally = Tally()
    try:
        _run(options, rest, tally)
    except KeyboardInterrupt:
        tally.interrupted = True
    except Stop as stop:
        print(f"tlux.archive: {stop}", file=sys.stderr)
        return stop.code
    except ImportError as error:
        print(f"tlux.archive: needs Dask ({error}): apt install python3-distributed", file=sys.stderr)
        return _FAILED
    print(tally.as_text())
    if options.report is not None:
        try:
            write_report(tally, options.report)
        except OSError as error:
            print(f"tlux.archive: {options.report}: {error.strerror}", file=sys.stderr)
            return _FAILED
    return tally.exit_code()

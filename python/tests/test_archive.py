"""Archives: a real scheduler and worker processes, of which one is killed, with files that cannot be done."""

from __future__ import annotations

import json
import os
import signal
import subprocess
import sys
import time
from pathlib import Path
from typing import Any, Callable, Dict, Iterator, List, Set, Tuple

import psutil
import pytest
from conftest import picture, write_picture
from tlux.archive import plan

MEMORY = 300_000_000  # bytes of a worker
PATIENCE = 300.0  # seconds


def archive(*arguments: Any) -> "subprocess.Popen[str]":
    line = [sys.executable, "-m", "tlux.archive", *map(str, arguments)]
    # A session of its own, so that an interrupt reaches it as from a terminal.
    return subprocess.Popen(
        line, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, start_new_session=True
    )


class Ended:
    def __init__(self, process: "subprocess.Popen[str]", report: Path) -> None:
        self.text, self.errors = process.communicate(timeout=PATIENCE)
        self.code = process.returncode
        self.report: Dict[str, Any] = json.loads(report.read_text()) if report.exists() else {}

    def reasons(self) -> Dict[str, str]:
        return {Path(failure["file"]).name: failure["reason"] for failure in self.report["failed"]}


def files_below(folder: Path) -> Set[str]:
    return {str(path.relative_to(folder)) for path in folder.rglob("*") if path.is_file()}


def wait_for(condition: Callable[[], object]) -> None:
    end = time.monotonic() + PATIENCE
    while not condition():
        assert time.monotonic() < end
        time.sleep(0.02)


@pytest.fixture()
def scheduler(tmp_path: Path) -> Iterator[str]:
    """Address of a scheduler with two workers."""
    file = tmp_path / "scheduler.json"
    cli = [sys.executable, "-m"]
    commands: List[List[str]] = [
        [*cli, "distributed.cli.dask_scheduler", "--host", "127.0.0.1", "--port", "0", "--no-dashboard"],
        *2 * [[*cli, "distributed.cli.dask_worker", "--nthreads", "1", "--memory-limit", str(MEMORY)]],
    ]
    processes = [
        subprocess.Popen([*line, "--scheduler-file", str(file)], stderr=subprocess.DEVNULL, cwd=tmp_path)
        for line in commands
    ]
    try:
        wait_for(file.exists)
        yield json.loads(file.read_text())["address"]
    finally:
        for process in reversed(processes):
            process.kill()
        for process in processes:
            process.wait()


def kill_a_worker() -> None:
    """The process that works, below the one that watches it."""
    watchers = [p for p in psutil.Process().children() if "distributed.cli.dask_worker" in p.cmdline()]
    workers = [p for p in watchers[0].children() if "spawn_main" in " ".join(p.cmdline())]
    workers[0].kill()


def test_an_archive_with_bad_files_and_a_worker_that_dies(scheduler: str, command: str, tmp_path: Path) -> None:
    source, destination, report = tmp_path / "archive", tmp_path / "better", tmp_path / "report.json"
    names = [f"{'it is late' if i % 2 else 'a/b'}/{i:03}.ppm" for i in range(198)]
    for i, name in enumerate(names):
        write_picture(source / name, picture(48, 64 + i % 7))
    (source / "notes.txt").write_text("no picture, and not called one")
    broken, huge = source / "a" / "broken.png", source / "huge.ppm"
    broken.write_bytes(b"no picture")
    with huge.open("wb") as file:  # most of it a hole in the disk
        file.write(b"P6 16000 12000 255\n")
        file.truncate(16000 * 12000 * 3 + 19)
    options = ["--scheduler", scheduler, "--command", command, "--report", report, "--strength", "40"]

    running = archive(source, destination, *options)
    wait_for(lambda: len(files_below(destination)) > 40)
    kill_a_worker()
    first = Ended(running, report)

    expected = {str(Path(name).with_suffix(".png")) for name in names}
    assert files_below(destination) == expected, first.errors
    reasons = first.reasons()
    assert set(reasons) == {"broken.png", "huge.ppm"}
    assert "memory" in reasons["huge.ppm"] or "needs more than the 300 MB" in reasons["huge.ppm"]
    assert first.errors.count("tlux.archive: ") == 2 and str(broken) in first.errors
    assert (first.code, first.report["done"], first.report["skipped"]) == (3, 198, 0)
    assert first.text.startswith("198 done, 0 skipped, 2 failed in ")
    assert first.report["per_second"] > 0
    assert (destination / "a/b/000.png").read_bytes().startswith(b"\x89PNG")

    for bad in (broken, huge):
        bad.unlink()
    times = {name: (destination / name).stat().st_mtime_ns for name in expected}
    os.utime(source / names[0])  # newer than its result
    second = Ended(archive(source, destination, *options), report)
    assert (second.code, second.report["done"], second.report["skipped"]) == (0, 1, 197)
    third = Ended(archive(source, destination, *options), report)
    assert (third.code, third.report["done"], third.report["skipped"]) == (0, 0, 198)
    changed = {name for name in expected if (destination / name).stat().st_mtime_ns != times[name]}
    assert changed == {str(Path(names[0]).with_suffix(".png"))}


def test_gives_up_a_file_that_kills_its_workers(tmp_path: Path) -> None:
    source, destination, report = tmp_path / "in", tmp_path / "out", tmp_path / "report.json"
    for i in range(6):
        write_picture(source / f"{i}.jpg", picture(2, 2))
    (source / "3.jpg").rename(source / "deadly.jpg")
    killer = tmp_path / "tlux"
    killer.write_text(
        '#!/bin/sh\necho "$3" >> "$0.log"\ncase $3 in *deadly*) kill -9 $PPID; sleep 1 ;; *) cp "$3" "$5" ;; esac\n'
    )
    killer.chmod(0o755)
    ended = Ended(archive(source, destination, "--workers", 2, "--command", killer, "--report", report), report)
    assert ended.reasons() == {"deadly.jpg": "given up: 3 workers died over it"}, ended.errors
    assert (ended.code, ended.report["done"]) == (3, 5)
    assert (tmp_path / "tlux.log").read_text().count("deadly") == 3


def test_goes_on_after_an_interrupt(command: str, tmp_path: Path) -> None:
    source, destination, report = tmp_path / "in", tmp_path / "out", tmp_path / "report.json"
    for i in range(16):
        write_picture(source / f"{i}.ppm", picture(600, 800))
    # The last ones wait, so that the interrupt is never too late.
    slow, hold = tmp_path / "tlux", tmp_path / "hold"
    wait = f"case $3 in */[89].ppm) while [ -e {hold} ]; do sleep 0.1; done ;; esac"
    slow.write_text(f'#!/bin/sh\n{wait}\nexec {command} "$@"\n')
    slow.chmod(0o755)
    hold.touch()
    options = ["--workers", 2, "--command", slow, "--report", report]
    running = archive(source, destination, *options)
    wait_for(lambda: any(name.endswith(".png") for name in files_below(destination)))
    os.killpg(running.pid, signal.SIGINT)
    first = Ended(running, report)
    assert first.code == 130 and first.report["interrupted"], first.errors
    done = {name for name in files_below(destination) if name.endswith(".png")}
    assert 0 < len(done) < 16
    assert files_below(destination) == done  # nothing half done
    times = {name: (destination / name).stat().st_mtime_ns for name in done}
    hold.unlink()
    second = Ended(archive(source, destination, *options), report)
    assert (second.code, second.report["done"], second.report["skipped"]) == (0, 16 - len(done), len(done))
    assert times == {name: (destination / name).stat().st_mtime_ns for name in done}


def test_refuses_what_makes_no_sense(command: str, tmp_path: Path) -> None:
    source = tmp_path / "in"
    write_picture(source / "a.ppm", picture(48, 64))
    report = tmp_path / "report.json"
    mistakes: List[Tuple[List[Any], str]] = [
        ([tmp_path / "missing", tmp_path / "out"], "missing is no folder"),
        ([source, source], "same folder"),
        ([source, tmp_path / "out", "-o", "x.png"], "-o cannot be given"),
        ([source, tmp_path / "out", "--folder=x"], "--folder=x cannot be given"),
        ([source, tmp_path / "out", "--workers", "0"], "no number above 0"),
        ([source, tmp_path / "out", "--workers", "2", "--scheduler", "tcp://x:1"], "not allowed with"),
        ([source, tmp_path / "out", "--workers", "1", "--command", command, "--no-such-option"], "--no-such-option"),
    ]
    for arguments, message in mistakes:
        ended = Ended(archive(*arguments), report)
        assert ended.code == 1 and message in ended.errors, ended.errors
    assert not report.exists()
    ended = Ended(archive(source, tmp_path / "out", "--workers", "1", "--command", tmp_path / "tlux"), report)
    assert ended.code == 3 and "there is no command" in ended.errors


def test_keeps_extensions_that_every_command_writes(command: str, tmp_path: Path) -> None:
    for name, wanted, expected in (
        ("a/b.JPG", None, "a/b.JPG"),
        ("b.heic", None, "b.png"),
        ("b.tiff", "jpg", "b.jpg"),
        ("b.mov", None, "b.mov"),
    ):
        assert plan.result_of(Path(name), wanted) == Path(expected)
    for options, wanted in ((["--as", "jpg"], "jpg"), (["--as=webp"], "webp"), (["--strength", "3"], None)):
        assert plan.extension_wanted(options) == wanted
    # An extension it cannot write would be a wrong usage, 1; here it is the input that is missing, 2.
    for extension in sorted(plan.WRITABLE_PICTURES | plan.VIDEOS):
        line = [command, "enhance", str(tmp_path / "missing.png"), "-o", str(tmp_path / f"x.{extension}")]
        assert subprocess.run(line, stderr=subprocess.DEVNULL).returncode == 2, extension


def test_takes_pictures_and_videos_and_leaves_the_results_out(tmp_path: Path) -> None:
    for name in ("b.jpg", "a/c.MP4", "a/.hidden", "a/c.txt", "out/b.jpg", "z.webp"):
        (tmp_path / name).parent.mkdir(exist_ok=True)
        (tmp_path / name).touch()
    jobs = list(plan.plan(tmp_path, tmp_path / "out", ["--as", "png"]))
    assert [Path(job.source).relative_to(tmp_path) for job in jobs] == [Path("b.jpg"), Path("z.webp"), Path("a/c.MP4")]
    assert Path(jobs[2].result) == tmp_path / "out/a/c.png"

"""Hands jobs to the workers of a cluster and collects their outcomes."""

from __future__ import annotations

import time
from collections import Counter
from typing import Any, Callable, Dict, Iterable, Iterator, List, Optional

import cloudpickle
from distributed import Client, KilledWorker, as_completed

from . import task
from .plan import Job

MOST_DEATHS = 3
# A few files queue at each worker, so that it never waits for the next one.
_FILES_PER_THREAD = 2
_COUNT_INTERVAL = 5.0  # seconds

cloudpickle.register_pickle_by_value(task)

Ended = Callable[[Job, int, str], None]
"""Called with the exit code of a job, and the reason if it failed."""


class Dispatcher:
    """Keeps the workers just busy, so that an archive of any size can be processed.

    When a worker dies, any of its files may be the cause. They are redone at the end, one at a time: a file that has
    killed three workers by then is given up.
    """

    def __init__(self, client: Client, command: List[str], ended: Ended) -> None:
        self._client = client
        self._command = command
        self._ended = ended
        self._jobs: Dict[Any, Job] = {}  # by future
        self._deaths: Counter[Job] = Counter()
        self._threads = 0
        self._counted = 0.0

    def run(self, jobs: Iterable[Job]) -> None:
        self._run_together(iter(jobs))
        for job in list(self._deaths):
            self._run_alone(job)

    def cancel(self) -> None:
        """Cancels what has not started."""
        self._client.cancel(list(self._jobs))
        self._jobs.clear()

    def _submit(self, job: Job) -> Any:
        future = self._client.submit(task.enhance_file, self._command, job.source, job.result, pure=False)
        self._jobs[future] = job
        return future

    def _room(self) -> int:
        """How many more files the workers can take; workers may come and go."""
        now = time.monotonic()
        if self._threads == 0 or now - self._counted > _COUNT_INTERVAL:
            self._threads = sum(self._client.nthreads().values())
            self._counted = now
        return max(1, _FILES_PER_THREAD * self._threads) - len(self._jobs)

    def _run_together(self, jobs: Iterator[Job]) -> None:
        completed = as_completed(loop=self._client.loop)
        self._fill(completed, jobs)
        for future in completed:
            job = self._jobs.pop(future)
            self._take(future, job)
            future.release()
            self._fill(completed, jobs)

    def _fill(self, completed: Any, jobs: Iterator[Job]) -> None:
        for _ in range(self._room()):
            job = next(jobs, None)
            if job is None:
                return
            completed.add(self._submit(job))

    def _run_alone(self, job: Job) -> None:
        is_ended = False
        while not is_ended:
            future = self._submit(job)
            future.exception()  # waits
            del self._jobs[future]
            is_ended = self._take(future, job)
            if not is_ended and self._deaths[job] >= MOST_DEATHS:
                self._ended(job, task.TOO_LARGE, f"given up: {self._deaths[job]} workers died over it")
                is_ended = True

    def _take(self, future: Any, job: Job) -> bool:
        """Whether the job has ended, rather than its worker."""
        error: Optional[BaseException] = future.exception()
        if isinstance(error, KilledWorker):
            self._deaths[job] += getattr(error, "allowed_failures", 0) + 1
            return False
        if error is not None:
            self._ended(job, task.TOO_LARGE, str(error) or type(error).__name__)
            return True
        code, reason, _ = future.result()
        self._ended(job, code, reason)
        return True

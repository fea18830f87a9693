"""Result codes of the library as exceptions."""

from __future__ import annotations

from . import _records


class Error(RuntimeError):
    """The library reported a failure.

    Attributes
    ----------
    code : int
        The library's result code.
    """

    def __init__(self, code: int, message: str) -> None:
        super().__init__(message)
        self.code = code


def check(code: int, what: str) -> None:
    """Raises the exception for a result code; `what` names the operation."""
    if code == _records.OK:
        return
    if code == _records.NO_MEMORY:
        raise MemoryError(f"{what}: no memory")
    if code == _records.INVALID_PARAM:
        raise ValueError(f"{what}: an argument is out of its range")
    if code == _records.THREAD:
        raise Error(code, f"{what}: a thread could not be started")
    raise Error(code, f"{what}: result code {code}")

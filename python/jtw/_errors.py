"""The one exception of the module."""

from __future__ import annotations

from typing import Optional


class Error(Exception):
    """A file that cannot be read, or an operation that cannot be done.

    code     stable and meant for programs, such as "truncated" or "unknown_key"
    message  one line, without the place
    file     the file, or the component, that it is about
    segment  the segment in the file
    offset   byte in the file, in the inflated segment, or in the text of an expression
    """

    def __init__(
        self,
        message: str,
        code: str = "error",
        file: Optional[str] = None,
        segment: Optional[str] = None,
        offset: Optional[int] = None,
    ) -> None:
        super().__init__(message, code, file, segment, offset)
        self.message = message
        self.code = code
        self.file = file
        self.segment = segment
        self.offset = offset

    def __str__(self) -> str:
        place = self.file or ""
        if self.segment is not None:
            place += f", segment {self.segment}"
        if self.offset is not None:
            place += f", offset {self.offset}"
        return f"{place}: {self.message}" if place else self.message

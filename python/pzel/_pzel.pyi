"""The extension module: what is public of it stands in the package's own stub."""

from typing import Any

def __getattr__(name: str) -> Any: ...

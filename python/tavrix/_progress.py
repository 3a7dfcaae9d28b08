"""The bar that ``progress=True`` shows."""

import sys


class Bar:
    """A line on standard error with the stage and its percentage, rewritten in place."""

    def __call__(self, stage: str, done: float) -> None:
        filled = round(30 * done)
        line = f"\r{stage:>12} [{'#' * filled}{'.' * (30 - filled)}] {100 * done:3.0f} %"
        print(line, end="", file=sys.stderr, flush=True)

    def close(self) -> None:
        """Takes the line away."""
        print("\r" + " " * 55 + "\r", end="", file=sys.stderr, flush=True)

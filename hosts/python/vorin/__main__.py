"""Runs the command ``vorin``: ``python -m vorin invert decay.csv``."""

import os
import sys

from .errors import LibraryNotFound
from .loading import find_program, forbids_programs, with_runtime


def main() -> int:
    """Replaces this process by the command, with the same arguments."""
    try:
        program = find_program()
        os.execve(program, [str(program), *sys.argv[1:]], with_runtime(os.environ))
    except LibraryNotFound as error:
        print(f"python -m vorin: {error}", file=sys.stderr)
    except OSError as error:
        advice = forbids_programs(program)
        print(f"python -m vorin: {program} can't be run ({error.strerror})"
              f"{'' if advice is None else f'; {advice}'}", file=sys.stderr)
    return 2


if __name__ == "__main__":
    sys.exit(main())

"""python -m tlux.archive SOURCE DESTINATION"""

import sys

from .command import main

# Worker processes import this module too.
if __name__ == "__main__":
    sys.exit(main())

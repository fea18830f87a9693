"""The measures of scripts/quality.py, one file for each kind of figure."""

import os
import sys
from pathlib import Path

_ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(_ROOT / "python/src"))
os.environ.setdefault("TLUX_LIBRARY", str(_ROOT / "build/release/src/libtlux.so"))

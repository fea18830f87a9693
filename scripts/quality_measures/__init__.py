"""What scripts/quality.py measures, a file for each kind of figure."""

"""The measures of scripts/quality.py, one file for each kind of figure."""

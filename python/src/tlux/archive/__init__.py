"""Runs the command on archives of pictures and videos, on the processors of one machine or many."""

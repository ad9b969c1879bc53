"""Judges a model: runs it through the library, measures the result and writes its card."""

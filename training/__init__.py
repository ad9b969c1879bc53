"""The training kit: a package whose scripts run from the root of the repository.

    python3 -m training.model.train NAME
"""
from pathlib import Path

KIT = Path(__file__).resolve().parent
ROOT = KIT.parent

"""The network: trains it, exports it and converts its weights."""
import os

# Read when PyTorch is loaded. Threads that spin while they wait would starve a machine that does other things too.
os.environ.setdefault("OMP_WAIT_POLICY", "passive")

"""Training data: fetches images, cuts and packs tiles, and makes the batches."""

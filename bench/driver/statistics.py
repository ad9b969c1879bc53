"""What is made of measured values. NaN means that nothing was measured."""
import math
from statistics import correlation, linear_regression
from typing import NamedTuple, Sequence


def quantile(values: Sequence[float], fraction: float) -> float:
    """The value below which the fraction (0 to 1) of the values lies, between the two nearest of them."""
    if not values:
        return math.nan
    ordered = sorted(values)
    position = fraction * (len(ordered) - 1)
    below = int(position)
    above = min(below + 1, len(ordered) - 1)
    return ordered[below] + (ordered[above] - ordered[below]) * (position - below)


def minimum(values: Sequence[float]) -> float:
    return quantile(values, 0.0)


def median(values: Sequence[float]) -> float:
    return quantile(values, 0.5)


class Line(NamedTuple):
    intercept: float
    slope: float
    explained: float  # share of the variance, 0 to 1 (the coefficient of determination)


def fit_line(x: Sequence[float], y: Sequence[float]) -> Line:
    """The straight line of least squares. x and y have the same length, and x more than one value."""
    line = linear_regression(x, y)
    return Line(line.intercept, line.slope, correlation(x, y) ** 2)

"""What is made of the values that the rounds gave."""

from statistics import median


def ratios(ours, theirs):
    """Ours to theirs, round by round: what disturbs a round disturbs both."""
    return [our / their for our, their in zip(ours, theirs)]


def summary(values):
    return {"median": median(values), "least": min(values), "most": max(values), "rounds": values}


def shown(value):
    """Three digits, or all in front of the point."""
    if value == 0:
        return "0"
    if abs(value) < 10:
        return f"{value:.2f}"
    return f"{value:.1f}" if abs(value) < 100 else f"{value:.0f}"


def span(values, scale=1):
    return f"{shown(min(values) * scale)} to {shown(max(values) * scale)}"

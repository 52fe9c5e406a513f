"""Why a bundle cannot be sealed."""


class SealError(Exception):
    """What is wrong, in words that fit on one line."""

"""Plain Python model of the car, kept apart from the C++ one so that each can be held against the other.

Nothing here is shared with the C++ sources: the two were written separately from the same description, so that an error
in one of them shows as a difference. Every number is an IEEE double, sums and products are evaluated from the left, and
no step is fused or reordered, because the C++ model promises the same order.
"""

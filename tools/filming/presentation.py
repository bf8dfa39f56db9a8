"""When each picture of a screen is to be seen in a film of constant rate.

A show paints one frame a tick, and each is seen a little later, now more and now less. So the times
are not rounded one by one, which would lose and double frames: each frame gets a place of its own on
the grid of ticks that fits all of them best."""

import math
import statistics
from dataclasses import dataclass

# In ticks: how far from its time a picture may be put, and how much one that is left out counts.
REACH = 3
LEFT_OUT = 4.0
# What is worse than the best by more than this does not become the best any more.
HOPELESS = 20.0
# So often the places are found, each time with what the ones before have told of the phase.
ROUNDS = 3
# In ticks: so long the screen stands still only before the show, or after it.
PAUSE = 10


@dataclass(frozen=True)
class Presentation:
    """`places`: for each picture its number in the film, from 0 on, or None where it is left out.
    `origin`: the time at which picture 0 of the film is seen."""

    places: list
    origin: float

    @property
    def taken(self):
        return [place for place in self.places if place is not None]

    @property
    def length(self):
        """In pictures of the film."""
        return max(self.taken, default=-1) + 1

    @property
    def left_out(self):
        return len(self.places) - len(self.taken)

    @property
    def doubled(self):
        """How many pictures are shown again for want of a new one, where the screen does not pause."""
        taken = self.taken
        return sum(after - before - 1 for before, after in zip(taken, taken[1:])
                   if after - before <= PAUSE)


def phase_of(units):
    """How far after the ticks, in ticks, the pictures are seen: their mean on a circle."""
    turns = [2 * math.pi * unit for unit in units]
    return math.atan2(sum(map(math.sin, turns)), sum(map(math.cos, turns))) / (2 * math.pi)


def places_of(units, phase):
    """Of pictures that were seen at these times, in ticks."""
    # The last place that is taken, and the cheapest way there: its cost, and its places, the last
    # first.
    ways = {-REACH - 1: (0.0, None)}
    for unit in units:
        longer = {last: (cost + LEFT_OUT, (None, way)) for last, (cost, way) in ways.items()}
        nearest = round(unit - phase)
        for place in range(nearest - REACH, nearest + REACH + 1):
            cost, way = min((ways[last] for last in ways if last < place),
                            key=lambda each: each[0], default=(math.inf, None))
            cost += abs(unit - phase - place)
            if cost < longer.get(place, (math.inf,))[0]:
                longer[place] = (cost, (place, way))
        limit = min(cost for cost, _ in longer.values()) + HOPELESS
        ways = {last: way for last, way in longer.items() if way[0] <= limit}
    _, way = min(ways.values(), key=lambda each: each[0])
    places = []
    while way is not None:
        place, way = way
        places.append(place)
    return places[::-1]


def present(times, tick_s):
    """Of pictures that were seen at these times, in seconds."""
    if not times:
        return Presentation([], 0.0)
    units = [(time - times[0]) / tick_s for time in times]
    phase = phase_of(units)
    for _ in range(ROUNDS):
        places = places_of(units, phase)
        # Times that are spread over the whole circle have no mean there, but they have one around
        # their places.
        phase = statistics.median(unit - place for unit, place in zip(units, places)
                                  if place is not None)
    first = next(place for place in places if place is not None)
    return Presentation([None if place is None else place - first for place in places],
                        times[0] + (phase + first) * tick_s)

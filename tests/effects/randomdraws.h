#pragma once

#include <QtGlobal>

/// What qrand() gives after `seed` and `draws` draws. Code that draws once too often or too seldom
/// shows in the draw that follows it. Take that into a variable first: a comparison would let the
/// compiler choose which of its sides draws before the other.
inline int drawAfter(unsigned int seed, int draws)
{
    qsrand(seed);
    for (int i = 0; i < draws; ++i) {
        qrand();
    }
    return qrand();
}

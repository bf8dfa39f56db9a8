#pragma once

#include "effects/radialeffect.h"

#include <QColor>
#include <QVector2D>
#include <QVector>

namespace radial {

/// One joint of the tree, in painter units from the centre, y downward.
struct Node
{
    /// Growth below this joint: passed on to its branches, or, at a tip, `count` children in a fan
    /// of `spread` (radians, before the random factor).
    void addBranches(int count, float spread);

    /// One step back along the joint's own direction, a two-hundredth of its distance from the
    /// centre.
    void move();

    /// Moves this joint and all below it, but no tip.
    void updateBranches();

    /// Draws the segments below this joint, each before what hangs on it, and adds their number to
    /// `lines`.
    void render(QPainter& painter, int& lines) const;

    QVector2D position;
    QVector2D direction; ///< Unit vector from the parent joint.
    QVector<Node> branches;
    QColor color; ///< Reserve: invalid, since the pen is the caller's.
};

} // namespace radial

struct RadialEffect::RadialEffectPrivate
{
    radial::Node root;
    int steps = 0; ///< Calls of addBranches() since the last reset.
};

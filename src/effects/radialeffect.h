#pragma once

#include "demo/demopart.h"

#include <memory>

class QPainter;

/// A random tree of lines that grows from the centre for eleven frames, and whose inner joints
/// then creep back, so that the lines to its tips stretch. In each frame: addBranches(), render().
/// It is a part by descent, so that a show could hold it in its list.
class RadialEffect : public DemoPart
{
public:
    /// Leaves the qrand() sequence seeded with 100.
    RadialEffect();
    /// Frees the whole tree.
    ~RadialEffect() override;

    /// An empty tree that is ready to grow. Which way it grew from is kept.
    void reset();

    /// One frame of motion and, until the tree has grown twelve steps, one step of growth; two in
    /// the first frame.
    void addBranches();

    /// Draws the tree around the painter's origin, with the pen that the caller has set.
    void render(QPainter& painter);

    /// Reserve: does nothing. The show drives the tree by the calls above.
    void update(DemoMain& demo) override;

private:
    struct RadialEffectPrivate;
    std::unique_ptr<RadialEffectPrivate> d;
};

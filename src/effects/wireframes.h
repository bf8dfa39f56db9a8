#pragma once

#include "effects/effectbase.h"

#include <memory>

class QPainter;

/// A cube lattice of 343 glowing points that turns about once in 150 frames, seen through an
/// extreme telephoto lens.
class Wireframes : public EffectBase
{
public:
    explicit Wireframes(QObject* parent = nullptr);
    ~Wireframes() override;

    void init() override;

    /// The lattice has no bitmap of its own: into one, it draws the base's noise.
    using EffectBase::renderFrame;

    /// Draws frame number `frame` around the painter's origin, adding to what is there; the
    /// painter is left in CompositionMode_Plus.
    void renderFrame(QPainter& painter, int frame);

private:
    struct WireframesPrivate;
    std::unique_ptr<WireframesPrivate> d; ///< Empty; room for lattices that keep a state.
};

#pragma once

#include "effects/effectbase.h"

#include <memory>

/// A tunnel of coloured dots: every frame the picture before comes back a little larger and
/// turned, and new dots are set in its middle.
class NZoomer : public EffectBase
{
public:
    explicit NZoomer(QObject* parent = nullptr);
    ~NZoomer() override;

    /// Mixes the eight dot colours, invalid until then.
    void init() override;

    /// Draws the next frame over the last one in `bitmap`. A `frame` of -1 makes the ring of dots
    /// small again; otherwise it grows and narrows once, by a count of its own, and the number
    /// only sways the centre.
    void renderFrame(FrameBitmap* bitmap, int frame) override;

private:
    struct NZoomerPrivate;
    std::unique_ptr<NZoomerPrivate> d;
};

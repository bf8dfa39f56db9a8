#pragma once

#include "graphics/camera.h"

#include <memory>

namespace graphics {

/// Moves smoothly from one camera to another. Reserve.
class CameraView
{
public:
    CameraView();
    ~CameraView();

    /// Is at `camera` at once; stops any move.
    void cutTo(const Camera& camera);

    /// Starts a move from where the view is now. A time of 0 or less never moves it.
    void moveTo(const Camera& camera, float seconds);

    /// Takes the view to where the move is now, easing in and out; once per frame.
    void update();

    Camera current() const;

private:
    struct CameraViewPrivate;
    std::unique_ptr<CameraViewPrivate> d;
};

} // namespace graphics

#pragma once

namespace graphics {

/// How a drawn pixel meets the one that is there.
enum Blending : int {
    BlendNone = 0,     ///< Replaces it.
    BlendAlpha = 1,    ///< Covers it by its alpha.
    BlendAdditive = 2, ///< Adds to it.
    BlendInvertAdd = 3 ///< Adds to it what its own colour lacks.
};

/// How a surface is coloured. Reserve: nothing here tells values apart; 0 is the one to start with.
enum ColoringType : int { ColoringDefault = 0 };

/// A blending and a colouring in one value. Reserve: the renderer does not read it.
class RenderState
{
public:
    void setBlending(Blending blending);
    Blending blending() const;
    void setColoring(ColoringType coloring);
    ColoringType coloring() const;

private:
    Blending m_blending = BlendNone;
    ColoringType m_coloring = ColoringDefault;
};

} // namespace graphics

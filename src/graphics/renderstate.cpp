#include "graphics/renderstate.h"

namespace graphics {

void RenderState::setBlending(Blending blending)
{
    m_blending = blending;
}

Blending RenderState::blending() const
{
    return m_blending;
}

void RenderState::setColoring(ColoringType coloring)
{
    m_coloring = coloring;
}

ColoringType RenderState::coloring() const
{
    return m_coloring;
}

} // namespace graphics

#pragma once

#include "graphics/texture2d.h"

#include <memory>

class QGLFramebufferObject;

namespace graphics {

/// A picture to draw into, with a painter (fbo() is its paint device) or with GL, and to use as a
/// texture then. init() makes the framebuffer and its texture, the destructor deletes both;
/// both need the GL context current.
class RenderTarget
{
public:
    RenderTarget();
    ~RenderTarget();

    /// Makes a target of `width` × `height` pixels, without depth or stencil; its content is
    /// undefined. Once: a second call forgets the first framebuffer without deleting it; the
    /// name of its texture is deleted, unless a copy of texture() holds it.
    void init(int width, int height);

    /// Binds the framebuffer and sets the viewport to all of it.
    void bind();
    /// Binds the window's framebuffer, whatever was bound before; the viewport is the caller's.
    void release();

    /// Owned here; null before init().
    QGLFramebufferObject* fbo() const;
    const Texture2d& texture() const;
    /// These three ask the framebuffer: not before init().
    unsigned int textureId() const;
    int width() const;
    int height() const;

private:
    // The order matters: the framebuffer goes only in the destructor's body, before the handle,
    // whose second delete of the same name GL ignores.
    std::unique_ptr<QGLFramebufferObject> m_fbo;
    Texture2d m_texture;
};

} // namespace graphics

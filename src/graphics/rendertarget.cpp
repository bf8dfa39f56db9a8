#include "graphics/rendertarget.h"

#include <QGLFramebufferObject>

#include <GLES2/gl2.h>

namespace graphics {

RenderTarget::RenderTarget() = default;

RenderTarget::~RenderTarget()
{
    m_fbo.reset();
}

void RenderTarget::init(int width, int height)
{
    // An earlier framebuffer is not deleted, since whoever asked fbo() for it may use it still. Its
    // texture is, with the last handle on that.
    static_cast<void>(m_fbo.release());
    m_fbo = std::make_unique<QGLFramebufferObject>(width, height, GL_TEXTURE_2D);
    m_texture = Texture2d(m_fbo->texture());
    glBindTexture(GL_TEXTURE_2D, m_fbo->texture());
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glBindTexture(GL_TEXTURE_2D, 0);
}

void RenderTarget::bind()
{
    m_fbo->bind();
    glViewport(0, 0, m_fbo->width(), m_fbo->height());
}

void RenderTarget::release()
{
    m_fbo->release();
}

QGLFramebufferObject* RenderTarget::fbo() const
{
    return m_fbo.get();
}

const Texture2d& RenderTarget::texture() const
{
    return m_texture;
}

unsigned int RenderTarget::textureId() const
{
    return m_fbo->texture();
}

int RenderTarget::width() const
{
    return m_fbo->width();
}

int RenderTarget::height() const
{
    return m_fbo->height();
}

} // namespace graphics

#pragma once

#include <QImage>

#include <GLES2/gl2.h>

/// Pictures to and from GL, byte by byte: the toolkit's own ways premultiply and flip. All of them
/// have their first row at the bottom of the screen or at v = 0 of a texture.
namespace glpictures {

/// The pixels of the framebuffer that is bound now.
inline QImage framebufferPixels(int width, int height)
{
    QImage image(width, height, QImage::Format_RGBA8888);
    glReadPixels(0, 0, width, height, GL_RGBA, GL_UNSIGNED_BYTE, image.bits());
    return image;
}

/// The texels of a texture that is whole in level 0.
inline QImage textureTexels(unsigned int texture, int width, int height)
{
    GLint former = 0;
    glGetIntegerv(GL_FRAMEBUFFER_BINDING, &former);
    GLuint framebuffer = 0;
    glGenFramebuffers(1, &framebuffer);
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, 0);
    QImage image;
    if (glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE) {
        image = framebufferPixels(width, height);
    }
    glBindFramebuffer(GL_FRAMEBUFFER, static_cast<GLuint>(former));
    glDeleteFramebuffers(1, &framebuffer);
    return image;
}

/// A framebuffer with an alpha channel, which the window lacks, and a depth buffer. Bound, and the
/// viewport on it, while it lives.
class Canvas
{
public:
    Canvas(int width, int height) : m_width(width), m_height(height)
    {
        glGenTextures(1, &m_texture);
        glBindTexture(GL_TEXTURE_2D, m_texture);
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, width, height, 0, GL_RGBA, GL_UNSIGNED_BYTE,
                     nullptr);
        glBindTexture(GL_TEXTURE_2D, 0);
        glGenRenderbuffers(1, &m_depth);
        glBindRenderbuffer(GL_RENDERBUFFER, m_depth);
        glRenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH_COMPONENT16, width, height);
        glGenFramebuffers(1, &m_framebuffer);
        glBindFramebuffer(GL_FRAMEBUFFER, m_framebuffer);
        glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, m_texture, 0);
        glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_RENDERBUFFER, m_depth);
        glViewport(0, 0, width, height);
        clear(0, 0, 0, 0);
    }

    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;

    ~Canvas()
    {
        glBindFramebuffer(GL_FRAMEBUFFER, 0);
        glDeleteFramebuffers(1, &m_framebuffer);
        glDeleteRenderbuffers(1, &m_depth);
        glDeleteTextures(1, &m_texture);
    }

    void clear(float red, float green, float blue, float alpha)
    {
        glClearColor(red, green, blue, alpha);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    }

    QImage pixels() const
    {
        return framebufferPixels(m_width, m_height);
    }

private:
    int m_width;
    int m_height;
    GLuint m_texture = 0;
    GLuint m_depth = 0;
    GLuint m_framebuffer = 0;
};

} // namespace glpictures

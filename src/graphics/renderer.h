#pragma once

#include "graphics/indexbuffer.h"
#include "graphics/renderstate.h"

#include <QColor>
#include <QMatrix4x4>
#include <QSharedPointer>
#include <QString>

#include <memory>

class QGLShaderProgram;

namespace graphics {

class Camera;
class Texture2d;
class VertexBuffer;

enum TransformationType : int { World = 0, View = 1, Projection = 2 };

enum PrimitiveListType : int { TriangleList = 0, TriangleStrip = 1, TriangleFan = 2 };

/// What clear() clears, one bit each.
enum ClearFlag : unsigned int { ClearColor = 1, ClearDepth = 2 };

/// Render states by number; only the depth test (1 on, any other value off) is acted on.
enum RenderStateEnum : int { DepthTest = 2 };

/// The GL mode of a primitive; 0 (GL_POINTS) for an unknown one.
unsigned int getOpenGlPrimitiveListEnum(PrimitiveListType type);

/// The GL type of an index; 0 for an unknown one.
unsigned int getOpenGlType(IndexBuffer::IndexTypeEnum type);

/// The text of a file, every line ended by "\n". A file that cannot be opened is fatal.
QString g_loadShader(const QString& path);

/// All drawing of the engine: shader programs, matrices, blending and texture slots over OpenGL ES
/// 2.0. Every call needs the GL context current, the destructor too, which deletes the programs.
/// A frame: reset(), setters, draws. GL errors are never queried.
class Renderer
{
public:
    Renderer();
    virtual ~Renderer();

    /// Builds the two built-in programs; once, before any draw. A vertex shader that fails is
    /// fatal.
    void init();
    /// Takes GL and this object to where every frame starts: default program, no texture, no
    /// blending, depth test, identity matrices. The matrix palette stays enabled if it was.
    void reset();
    /// Reserve: does nothing. The counterpart of reset().
    void end();

    /// Builds a program and keeps it under `name`, in place of an earlier one; where that is the
    /// current one, it stays so until another is enabled. The new one is linked when first drawn
    /// with. A file that is missing or a shader that fails is fatal.
    QSharedPointer<QGLShaderProgram> loadShader(const QString& name, const QString& vertexFile,
                                                const QString& fragmentFile);
    /// Makes the program kept under `name` current; the default one for an unknown name.
    void enableShader(const QString& name);
    /// Unbinds the current program, which stays current for the next draw.
    void releaseShader();
    /// Makes the matrix palette program (true) or the default one (false) current.
    void enableMatrixPalette(bool enabled);
    /// `index` 0..8, not checked.
    void setMatrixToMatrixPalette(unsigned int index, const QMatrix4x4& matrix);
    /// Binds program, uniforms and vertex buffer as a draw does, and does not draw.
    void bindShader(VertexBuffer& buffer);

    /// Width over height, for setCamera(); 0 leaves it to the camera.
    void setAspectRatio(float aspectRatio);
    /// Reserve: stored only. The contrast looks are programs of their own.
    void setContrast(float contrast);
    /// Reserve: stored for color(), and not sent to any shader.
    void setColor(const QColor& color);
    QColor color() const;
    /// Added to every pixel of the built-in programs.
    void setHighlightColor(const QColor& color);

    /// An unknown blending makes no GL call.
    void setBlending(Blending blending);
    /// glClear, for a sum of ClearFlags.
    void clear(unsigned int flags);
    void setRenderState(RenderStateEnum state, unsigned int value);

    /// Binds a texture unless it is bound already; null or an empty one binds none. Slots 0..7,
    /// not checked, only keep the books: all share the active texture unit.
    void setTexture2d(const Texture2d* texture, unsigned int slot);

    void setTransformation(TransformationType type, const QMatrix4x4& matrix);
    /// Sets the identity.
    void disableTransformation(TransformationType type);
    QMatrix4x4 transformation(TransformationType type) const;
    /// Sets View and Projection from a camera, the view scaled by `scale`.
    void setCamera(const Camera& camera, float scale);
    /// View × Projection of the last setCamera(), in this order: not what draws use.
    QMatrix4x4 getCameraMatrix() const;

    /// glDrawArrays with Projection × View × World; the program stays bound.
    void render(PrimitiveListType type, VertexBuffer& buffer, int first, int count);
    /// glDrawElements likewise, but the program is released. A negative `count` is all indices.
    void renderWithIndexBuffer(PrimitiveListType type, VertexBuffer& vertices, IndexBuffer& indices,
                               int first, int count);

private:
    struct RendererPrivate;
    std::unique_ptr<RendererPrivate> d;
};

} // namespace graphics

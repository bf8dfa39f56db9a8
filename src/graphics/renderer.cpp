#include "graphics/renderer_p.h"

#include "graphics/camera.h"
#include "graphics/texture2d.h"
#include "graphics/vertexbuffer.h"

#include <QFile>
#include <QTextStream>
#include <QtDebug>

#include <GLES2/gl2.h>

#include <cstdint>

namespace graphics {

namespace {

void bindAttributeLocations(QGLShaderProgram* program)
{
    program->bindAttributeLocation("a_pos", PositionLocation);
    program->bindAttributeLocation("a_color", ColorLocation);
    program->bindAttributeLocation("a_tex0", TexCoordLocation);
}

/// Adds the shader of a file to a program, which owns it. Qt reports a failure; it is fatal where
/// there is a name to report it by.
void addShader(QGLShaderProgram* program, QGLShader::ShaderType type, const QString& file,
               const QString& fatalName)
{
    auto* shader = new QGLShader(type, program);
    if (!shader->compileSourceCode(g_loadShader(file)) && !fatalName.isNull()) {
        qFatal("Shader compilation failed. %s", qUtf8Printable(fatalName));
    }
    program->addShader(shader);
}

} // namespace

unsigned int getOpenGlPrimitiveListEnum(PrimitiveListType type)
{
    switch (type) {
    case TriangleList:
        return GL_TRIANGLES;
    case TriangleStrip:
        return GL_TRIANGLE_STRIP;
    case TriangleFan:
        return GL_TRIANGLE_FAN;
    }
    return 0;
}

unsigned int getOpenGlType(IndexBuffer::IndexTypeEnum type)
{
    switch (type) {
    case IndexBuffer::Index8:
        return GL_UNSIGNED_BYTE;
    case IndexBuffer::Index16:
        return GL_UNSIGNED_SHORT;
    case IndexBuffer::Index32:
        return GL_UNSIGNED_INT;
    }
    return 0;
}

QString g_loadShader(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        qFatal("Shader not opened. %s", qUtf8Printable(file.fileName()));
    }
    QTextStream stream(&file);
    QString source;
    while (!stream.atEnd()) {
        source += stream.readLine() + "\n";
    }
    return source;
}

void Renderer::RendererPrivate::bindProgram(VertexBuffer& buffer)
{
    const QMatrix4x4 matrix =
        transformations[Projection] * transformations[View] * transformations[World];
    currentProgram->bind();
    if (userShaderActive) {
        currentProgram->setUniformValue("u_viewProjMatrix", matrix);
    } else if (matrixPaletteEnabled) {
        currentProgram->setUniformValue(paletteHighlightLoc, highlightColor);
        currentProgram->setUniformValue(paletteViewProjLoc, matrix);
        currentProgram->setUniformValueArray(paletteArrayLoc, matrixPalette, MATRIX_PALETTE_SIZE);
    } else {
        currentProgram->setUniformValue(defaultHighlightLoc, highlightColor);
        currentProgram->setUniformValue(defaultViewProjLoc, matrix);
    }
    buffer.bind();
}

void Renderer::RendererPrivate::updateWorldView()
{
    worldView = transformations[View] * transformations[World];
}

Renderer::Renderer() : d(new RendererPrivate) {}

Renderer::~Renderer() = default;

void Renderer::init()
{
    qDebug("vertex shader");
    addShader(&d->defaultProgram, QGLShader::Vertex, ":/shaders/default_vs.glsl",
              "shaders/default_vs.glsl");
    addShader(&d->matrixPaletteProgram, QGLShader::Vertex, ":/shaders/matrixpalette_vs.glsl",
              "shaders/matrixpalette_vs.glsl");
    qDebug("fragment shader");
    // Where one of these fails the program draws nothing, but the show goes on.
    const QString notFatal;
    addShader(&d->defaultProgram, QGLShader::Fragment, ":/shaders/default_fs.glsl", notFatal);
    addShader(&d->matrixPaletteProgram, QGLShader::Fragment, ":/shaders/default_fs.glsl", notFatal);

    bindAttributeLocations(&d->defaultProgram);
    bindAttributeLocations(&d->matrixPaletteProgram);
    d->matrixPaletteProgram.bindAttributeLocation("a_matrixWeights", MatrixWeightsLocation);
    d->matrixPaletteProgram.bindAttributeLocation("a_matrixIndices", MatrixIndicesLocation);
    d->defaultProgram.link();
    d->matrixPaletteProgram.link();

    d->defaultHighlightLoc = d->defaultProgram.uniformLocation("a_highlightColor");
    d->paletteHighlightLoc = d->matrixPaletteProgram.uniformLocation("a_highlightColor");
    d->defaultViewProjLoc = d->defaultProgram.uniformLocation("u_viewProjMatrix");
    d->paletteViewProjLoc = d->matrixPaletteProgram.uniformLocation("u_viewProjMatrix");
    d->paletteArrayLoc = d->matrixPaletteProgram.uniformLocation("u_matrixPalette");
    // A uniform is set on the bound program, whichever is asked.
    d->matrixPaletteProgram.bind();
    d->matrixPaletteProgram.setUniformValue("s_texture", 0);
    d->defaultProgram.bind();
    d->defaultProgram.setUniformValue("s_texture", 0);

    d->userShaderActive = false;
}

void Renderer::reset()
{
    d->userShaderActive = false;
    d->currentProgram = &d->defaultProgram;

    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
    glBindBuffer(GL_ARRAY_BUFFER, 0);
    glBindTexture(GL_TEXTURE_2D, 0);

    glEnable(GL_DEPTH_TEST);
    glDisable(GL_BLEND);
    glDisable(GL_CULL_FACE);
    glFrontFace(GL_CW);
    glDepthFunc(GL_LEQUAL);

    d->color = QColor::fromRgbF(1.0, 1.0, 1.0, 1.0);
    d->highlightColor = QColor::fromRgbF(0.0, 0.0, 0.0, 0.0);

    for (unsigned int slot = 0; slot < NUM_TEXTURE_SLOTS; ++slot) {
        setTexture2d(nullptr, slot);
    }

    for (QMatrix4x4& matrix : d->transformations) {
        matrix.setToIdentity();
    }
    d->worldView.setToIdentity();
    d->cameraMatrix.setToIdentity();

    d->lastVertexBuffer = 0;
    d->lastIndexBuffer = 0;
}

void Renderer::end() {}

QSharedPointer<QGLShaderProgram>
Renderer::loadShader(const QString& name, const QString& vertexFile, const QString& fragmentFile)
{
    qDebug("Load user shader");
    qDebug("Load user vshader");
    QSharedPointer<QGLShaderProgram> program(new QGLShaderProgram);
    addShader(program.data(), QGLShader::Vertex, vertexFile, vertexFile);
    qDebug("Load user fshader");
    addShader(program.data(), QGLShader::Fragment, fragmentFile, fragmentFile);

    QSharedPointer<QGLShaderProgram>& kept = d->userShaders[name];
    if (kept && kept == d->currentProgram) {
        // It stays current, and must not die of being replaced.
        d->replacedProgram = kept;
    }
    kept = program;
    bindAttributeLocations(program.data());
    // Too early to have an effect, Qt warns: the program is not linked yet. Slot 0 is what an
    // unset sampler reads.
    program->setUniformValue("s_texture", 0);
    return program;
}

void Renderer::enableShader(const QString& name)
{
    if (d->currentProgram) {
        d->currentProgram->release();
    }
    d->currentProgram = d->userShaders[name].data();
    d->userShaderActive = true;
    if (!d->currentProgram) {
        d->userShaderActive = false;
        d->currentProgram = &d->defaultProgram;
    }
}

void Renderer::releaseShader()
{
    if (d->currentProgram) {
        d->currentProgram->release();
    }
}

void Renderer::enableMatrixPalette(bool enabled)
{
    releaseShader();
    d->currentProgram = enabled ? &d->matrixPaletteProgram : &d->defaultProgram;
    d->matrixPaletteEnabled = enabled;
    d->userShaderActive = false;
}

void Renderer::setMatrixToMatrixPalette(unsigned int index, const QMatrix4x4& matrix)
{
    d->matrixPalette[index] = matrix;
}

void Renderer::bindShader(VertexBuffer& buffer)
{
    d->bindProgram(buffer);
}

void Renderer::setAspectRatio(float aspectRatio)
{
    d->aspectRatio = aspectRatio;
}

void Renderer::setContrast(float contrast)
{
    d->contrast = contrast;
}

void Renderer::setColor(const QColor& color)
{
    d->color = color;
}

QColor Renderer::color() const
{
    return d->color;
}

void Renderer::setHighlightColor(const QColor& color)
{
    d->highlightColor = color;
}

void Renderer::setBlending(Blending blending)
{
    switch (blending) {
    case BlendNone:
        glDisable(GL_BLEND);
        break;
    case BlendAlpha:
        glEnable(GL_BLEND);
        glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
        break;
    case BlendAdditive:
        glEnable(GL_BLEND);
        glBlendFunc(GL_ONE, GL_ONE);
        break;
    case BlendInvertAdd:
        glEnable(GL_BLEND);
        glBlendFunc(GL_ONE_MINUS_SRC_COLOR, GL_ONE);
        break;
    }
}

void Renderer::clear(unsigned int flags)
{
    GLbitfield mask = 0;
    if (flags & ClearColor) {
        mask |= GL_COLOR_BUFFER_BIT;
    }
    if (flags & ClearDepth) {
        mask |= GL_DEPTH_BUFFER_BIT;
    }
    glClear(mask);
}

void Renderer::setRenderState(RenderStateEnum state, unsigned int value)
{
    if (state != DepthTest) {
        return;
    }
    if (value == 1) {
        glEnable(GL_DEPTH_TEST);
    } else {
        glDisable(GL_DEPTH_TEST);
    }
}

void Renderer::setTexture2d(const Texture2d* texture, unsigned int slot)
{
    unsigned int& bound = d->boundTextures[static_cast<int>(slot)];
    if (texture && texture->textureId() != 0) {
        if (bound != texture->textureId()) {
            texture->bind();
            bound = texture->textureId();
        }
    } else if (bound != 0) {
        bound = 0;
        glBindTexture(GL_TEXTURE_2D, 0);
    }
}

void Renderer::setTransformation(TransformationType type, const QMatrix4x4& matrix)
{
    d->transformations[type] = matrix;
    if (type == World || type == View) {
        d->updateWorldView();
    }
}

void Renderer::disableTransformation(TransformationType type)
{
    setTransformation(type, d->identityMatrix);
}

QMatrix4x4 Renderer::transformation(TransformationType type) const
{
    return d->transformations[type];
}

void Renderer::setCamera(const Camera& camera, float scale)
{
    QMatrix4x4 view;
    QMatrix4x4 projection;
    camera.buildViewMatrix(&view);
    camera.buildProjectionMatrix(&projection, d->aspectRatio);
    if (scale != 1.0f) {
        view.scale(scale);
    }
    d->transformations[Projection] = projection;
    d->transformations[View] = view;
    d->updateWorldView();
    // The view on the left, unlike in a draw: users of the camera matrix count on this order.
    d->cameraMatrix = view * projection;
}

QMatrix4x4 Renderer::getCameraMatrix() const
{
    return d->cameraMatrix;
}

void Renderer::render(PrimitiveListType type, VertexBuffer& buffer, int first, int count)
{
    const GLenum mode = getOpenGlPrimitiveListEnum(type);
    d->lastVertexBuffer = buffer.id();
    d->bindProgram(buffer);
    glDrawArrays(mode, first, count);
}

void Renderer::renderWithIndexBuffer(PrimitiveListType type, VertexBuffer& vertices,
                                     IndexBuffer& indices, int first, int count)
{
    const GLenum mode = getOpenGlPrimitiveListEnum(type);
    if (count < 0) {
        count = indices.size();
    }
    d->lastVertexBuffer = vertices.id();
    if (d->lastIndexBuffer != indices.id()) {
        indices.bind();
        d->lastIndexBuffer = indices.id();
    }
    d->bindProgram(vertices);
    const std::uintptr_t offset =
        static_cast<std::uintptr_t>(first) * static_cast<std::uintptr_t>(indices.typeSize());
    glDrawElements(mode, count, getOpenGlType(indices.type()),
                   reinterpret_cast<const void*>(offset));
    releaseShader();
}

} // namespace graphics

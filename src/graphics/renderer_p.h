#pragma once

#include "graphics/renderer.h"

#include <QGLShaderProgram>
#include <QMap>
#include <QVector>

namespace graphics {

const int MATRIX_PALETTE_SIZE = 9; ///< As in matrixpalette_vs.glsl.
const int NUM_TEXTURE_SLOTS = 8;

struct Renderer::RendererPrivate
{
    /// Binds the current program and sends it what it wants to know.
    void bindProgram(VertexBuffer& buffer);
    void updateWorldView();

    QGLShaderProgram defaultProgram;
    QGLShaderProgram spareProgram; ///< Reserve: never given shaders.
    QGLShaderProgram matrixPaletteProgram;
    /// One of the above, one of userShaders, or replacedProgram.
    QGLShaderProgram* currentProgram = nullptr;
    int defaultHighlightLoc = 0;
    int paletteHighlightLoc = 0;
    int defaultViewProjLoc = 0;
    int paletteViewProjLoc = 0;
    int paletteArrayLoc = 0;
    int unusedLoc = 0; ///< Reserve.
    QMap<QString, QSharedPointer<QGLShaderProgram>> userShaders;
    bool userShaderActive = false;
    QVector<unsigned int> boundTextures = QVector<unsigned int>(NUM_TEXTURE_SLOTS, 0);
    unsigned int lastVertexBuffer = 0; ///< Reserve: attributes are set for every draw.
    unsigned int lastIndexBuffer = 0;
    float aspectRatio = 1.0f;
    float unusedRatio = 1.0f; ///< Reserve.
    QColor color;
    QColor highlightColor;
    float contrast = 1.0f;
    QMatrix4x4 identityMatrix;
    QMatrix4x4 transformations[3]; ///< By TransformationType.
    QMatrix4x4 worldView;          ///< Reserve: View × World.
    QMatrix4x4 cameraMatrix;
    QMatrix4x4 matrixPalette[MATRIX_PALETTE_SIZE];
    bool matrixPaletteEnabled = false;
    /// The last program that was replaced while it was current. Kept, since it may still be.
    QSharedPointer<QGLShaderProgram> replacedProgram;
};

} // namespace graphics

#pragma once

#include <QByteArray>
#include <QMatrix4x4>
#include <QSet>
#include <QStringList>
#include <QVector>

/// Records the raw GL calls of the code under test in a binary that links this: the functions of
/// OpenGL ES 2.0 that the engine calls are defined here, and hidden from the toolkit's libraries,
/// so that a painter's own calls are not among them.
namespace glrecorder {

enum Mode {
    PassThrough, ///< Nothing is recorded (the state a binary starts in).
    Record,      ///< Recorded, and carried out by the driver.
    Fake         ///< Recorded, not carried out: for tests without a context. Names count from 1.
};

/// One draw call and the state that it met. Of a fake draw only mode, first, count and vertices.
struct Draw
{
    unsigned int mode = 0;
    int first = 0;
    int count = 0;
    QByteArray vertices; ///< As last uploaded to the bound array buffer.
    unsigned int program = 0;
    QMatrix4x4 matrix; ///< The program's u_viewProjMatrix.
    unsigned int texture = 0;
    bool blend = false;
    unsigned int blendSource = 0;
    unsigned int blendDestination = 0;

    /// The colour of the first vertex of a quad.
    unsigned int color() const;
};

/// Forgets all that was recorded and goes on in `mode`. The living names are kept.
void start(Mode mode);

/// Every call since start(), like "glBindBuffer(GL_ARRAY_BUFFER, 1)". Pointers read "null",
/// "data", or, for attributes and elements, their offset.
QStringList calls();
/// The calls, and forgets them.
QStringList takeCalls();

QVector<Draw> draws();

/// GL names made and not yet deleted by the code under test, in any recording mode.
QSet<unsigned int> livingBuffers();
QSet<unsigned int> livingTextures();

/// The bytes last uploaded to a buffer.
QByteArray bufferData(unsigned int buffer);

} // namespace glrecorder

#include "support/glrecorder.h"

#include <GLES2/gl2.h>
#include <dlfcn.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include <QMap>

#define HIDDEN __attribute__((visibility("hidden")))

namespace {

/// What is kept of the calls.
struct Recording
{
    QStringList calls;
    QVector<glrecorder::Draw> draws;
    QSet<unsigned int> buffers;
    QSet<unsigned int> textures;
    QMap<unsigned int, QByteArray> uploads;
};

Recording& recording()
{
    static Recording ofThisProcess;
    return ofThisProcess;
}

glrecorder::Mode mode = glrecorder::PassThrough;
unsigned int arrayBuffer = 0;
unsigned int elementBuffer = 0;
unsigned int nextFakeName = 1;

/// The driver's own function.
template <typename Function>
Function* real(const char* name)
{
    static void* library = dlopen("libGLESv2.so.2", RTLD_NOW | RTLD_GLOBAL);
    void* address = library ? dlsym(library, name) : nullptr;
    if (!address) {
        std::abort();
    }
    return reinterpret_cast<Function*>(address);
}

#define REAL(name) real<decltype(name)>(#name)

QString constantName(unsigned int value)
{
    static const QMap<unsigned int, const char*> names = {
        {GL_ARRAY_BUFFER, "GL_ARRAY_BUFFER"},
        {GL_ELEMENT_ARRAY_BUFFER, "GL_ELEMENT_ARRAY_BUFFER"},
        {GL_STATIC_DRAW, "GL_STATIC_DRAW"},
        {GL_TEXTURE_2D, "GL_TEXTURE_2D"},
        {GL_TEXTURE_MAG_FILTER, "GL_TEXTURE_MAG_FILTER"},
        {GL_TEXTURE_MIN_FILTER, "GL_TEXTURE_MIN_FILTER"},
        {GL_TEXTURE_WRAP_S, "GL_TEXTURE_WRAP_S"},
        {GL_TEXTURE_WRAP_T, "GL_TEXTURE_WRAP_T"},
        {GL_LINEAR, "GL_LINEAR"},
        {GL_NEAREST, "GL_NEAREST"},
        {GL_REPEAT, "GL_REPEAT"},
        {GL_CLAMP_TO_EDGE, "GL_CLAMP_TO_EDGE"},
        {GL_RGBA, "GL_RGBA"},
        {GL_UNSIGNED_BYTE, "GL_UNSIGNED_BYTE"},
        {GL_UNSIGNED_SHORT, "GL_UNSIGNED_SHORT"},
        {GL_UNSIGNED_INT, "GL_UNSIGNED_INT"},
        {GL_FLOAT, "GL_FLOAT"},
        {GL_BLEND, "GL_BLEND"},
        {GL_DEPTH_TEST, "GL_DEPTH_TEST"},
        {GL_CULL_FACE, "GL_CULL_FACE"},
        {GL_CW, "GL_CW"},
        {GL_CCW, "GL_CCW"},
        {GL_LESS, "GL_LESS"},
        {GL_LEQUAL, "GL_LEQUAL"},
        {GL_SRC_ALPHA, "GL_SRC_ALPHA"},
        {GL_ONE_MINUS_SRC_ALPHA, "GL_ONE_MINUS_SRC_ALPHA"},
        {GL_ONE_MINUS_SRC_COLOR, "GL_ONE_MINUS_SRC_COLOR"},
    };
    return names.contains(value) ? QString(names.value(value))
                                 : QString("0x%1").arg(value, 4, 16, QChar('0'));
}

QString factorName(unsigned int value)
{
    return value == GL_ONE ? "GL_ONE" : value == GL_ZERO ? "GL_ZERO" : constantName(value);
}

QString modeName(unsigned int value)
{
    switch (value) {
    case GL_POINTS:
        return "GL_POINTS";
    case GL_TRIANGLES:
        return "GL_TRIANGLES";
    case GL_TRIANGLE_STRIP:
        return "GL_TRIANGLE_STRIP";
    case GL_TRIANGLE_FAN:
        return "GL_TRIANGLE_FAN";
    }
    return constantName(value);
}

/// Notes a call and tells whether the driver is to carry it out.
bool pass(const QString& call)
{
    if (mode != glrecorder::PassThrough) {
        recording().calls.append(call);
    }
    return mode != glrecorder::Fake;
}

void noteDraw(unsigned int primitive, int first, int count)
{
    if (mode == glrecorder::PassThrough) {
        return;
    }
    glrecorder::Draw draw;
    draw.mode = primitive;
    draw.first = first;
    draw.count = count;
    draw.vertices = recording().uploads.value(arrayBuffer);
    if (mode == glrecorder::Record) {
        GLint value = 0;
        REAL(glGetIntegerv)(GL_CURRENT_PROGRAM, &value);
        draw.program = static_cast<unsigned int>(value);
        const GLint location = REAL(glGetUniformLocation)(draw.program, "u_viewProjMatrix");
        if (location >= 0) {
            REAL(glGetUniformfv)(draw.program, location, draw.matrix.data());
        }
        REAL(glGetIntegerv)(GL_TEXTURE_BINDING_2D, &value);
        draw.texture = static_cast<unsigned int>(value);
        draw.blend = REAL(glIsEnabled)(GL_BLEND) == GL_TRUE;
        REAL(glGetIntegerv)(GL_BLEND_SRC_RGB, &value);
        draw.blendSource = static_cast<unsigned int>(value);
        REAL(glGetIntegerv)(GL_BLEND_DST_RGB, &value);
        draw.blendDestination = static_cast<unsigned int>(value);
    }
    recording().draws.append(draw);
}

void makeNames(GLsizei n, GLuint* names, bool carriedOut, QSet<unsigned int>& living)
{
    for (GLsizei i = 0; i < n; ++i) {
        if (!carriedOut) {
            names[i] = nextFakeName++;
        }
        living.insert(names[i]);
    }
}

QString nameList(GLsizei n, const GLuint* names)
{
    QStringList texts;
    for (GLsizei i = 0; i < n; ++i) {
        texts.append(QString::number(names[i]));
    }
    return texts.join(" ");
}

QString dataName(const void* data)
{
    return data ? "data" : "null";
}

} // namespace

namespace glrecorder {

unsigned int Draw::color() const
{
    std::uint32_t color = 0;
    if (vertices.size() >= 16) {
        std::memcpy(&color, vertices.constData() + 12, sizeof color);
    }
    return color;
}

void start(Mode newMode)
{
    mode = newMode;
    recording().calls.clear();
    recording().draws.clear();
}

QStringList calls()
{
    return recording().calls;
}

QStringList takeCalls()
{
    const QStringList taken = recording().calls;
    recording().calls.clear();
    return taken;
}

QVector<Draw> draws()
{
    return recording().draws;
}

QSet<unsigned int> livingBuffers()
{
    return recording().buffers;
}

QSet<unsigned int> livingTextures()
{
    return recording().textures;
}

QByteArray bufferData(unsigned int buffer)
{
    return recording().uploads.value(buffer);
}

} // namespace glrecorder

extern "C" {

HIDDEN void glBindBuffer(GLenum target, GLuint buffer)
{
    (target == GL_ARRAY_BUFFER ? arrayBuffer : elementBuffer) = buffer;
    if (pass(QString("glBindBuffer(%1, %2)").arg(constantName(target)).arg(buffer))) {
        REAL(glBindBuffer)(target, buffer);
    }
}

HIDDEN void glBindTexture(GLenum target, GLuint texture)
{
    if (pass(QString("glBindTexture(%1, %2)").arg(constantName(target)).arg(texture))) {
        REAL(glBindTexture)(target, texture);
    }
}

HIDDEN void glBlendFunc(GLenum source, GLenum destination)
{
    if (pass(QString("glBlendFunc(%1, %2)").arg(factorName(source), factorName(destination)))) {
        REAL(glBlendFunc)(source, destination);
    }
}

HIDDEN void glBufferData(GLenum target, GLsizeiptr size, const void* data, GLenum usage)
{
    const unsigned int buffer = target == GL_ARRAY_BUFFER ? arrayBuffer : elementBuffer;
    recording().uploads[buffer] =
        data ? QByteArray(static_cast<const char*>(data), static_cast<int>(size))
             : QByteArray(static_cast<int>(size), '\0');
    if (pass(QString("glBufferData(%1, %2, %3, %4)")
                 .arg(constantName(target))
                 .arg(size)
                 .arg(dataName(data), constantName(usage)))) {
        REAL(glBufferData)(target, size, data, usage);
    }
}

HIDDEN void glClear(GLbitfield mask)
{
    QStringList bits;
    if (mask & GL_COLOR_BUFFER_BIT) {
        bits.append("GL_COLOR_BUFFER_BIT");
    }
    if (mask & GL_DEPTH_BUFFER_BIT) {
        bits.append("GL_DEPTH_BUFFER_BIT");
    }
    if (pass(QString("glClear(%1)").arg(bits.isEmpty() ? "0" : bits.join(" | ")))) {
        REAL(glClear)(mask);
    }
}

HIDDEN void glClearColor(GLfloat red, GLfloat green, GLfloat blue, GLfloat alpha)
{
    if (pass(QString("glClearColor(%1, %2, %3, %4)").arg(red).arg(green).arg(blue).arg(alpha))) {
        REAL(glClearColor)(red, green, blue, alpha);
    }
}

HIDDEN void glDeleteBuffers(GLsizei n, const GLuint* names)
{
    for (GLsizei i = 0; i < n; ++i) {
        recording().buffers.remove(names[i]);
    }
    if (pass(QString("glDeleteBuffers(%1)").arg(nameList(n, names)))) {
        REAL(glDeleteBuffers)(n, names);
    }
}

HIDDEN void glDeleteTextures(GLsizei n, const GLuint* names)
{
    for (GLsizei i = 0; i < n; ++i) {
        recording().textures.remove(names[i]);
    }
    if (pass(QString("glDeleteTextures(%1)").arg(nameList(n, names)))) {
        REAL(glDeleteTextures)(n, names);
    }
}

HIDDEN void glDepthFunc(GLenum function)
{
    if (pass(QString("glDepthFunc(%1)").arg(constantName(function)))) {
        REAL(glDepthFunc)(function);
    }
}

HIDDEN void glDisable(GLenum capability)
{
    if (pass(QString("glDisable(%1)").arg(constantName(capability)))) {
        REAL(glDisable)(capability);
    }
}

HIDDEN void glDisableVertexAttribArray(GLuint index)
{
    if (pass(QString("glDisableVertexAttribArray(%1)").arg(index))) {
        REAL(glDisableVertexAttribArray)(index);
    }
}

HIDDEN void glDrawArrays(GLenum primitive, GLint first, GLsizei count)
{
    noteDraw(primitive, first, count);
    if (pass(QString("glDrawArrays(%1, %2, %3)").arg(modeName(primitive)).arg(first).arg(count))) {
        REAL(glDrawArrays)(primitive, first, count);
    }
}

HIDDEN void glDrawElements(GLenum primitive, GLsizei count, GLenum type, const void* offset)
{
    noteDraw(primitive, 0, count);
    if (pass(QString("glDrawElements(%1, %2, %3, %4)")
                 .arg(modeName(primitive))
                 .arg(count)
                 .arg(constantName(type))
                 .arg(reinterpret_cast<std::uintptr_t>(offset)))) {
        REAL(glDrawElements)(primitive, count, type, offset);
    }
}

HIDDEN void glEnable(GLenum capability)
{
    if (pass(QString("glEnable(%1)").arg(constantName(capability)))) {
        REAL(glEnable)(capability);
    }
}

HIDDEN void glEnableVertexAttribArray(GLuint index)
{
    if (pass(QString("glEnableVertexAttribArray(%1)").arg(index))) {
        REAL(glEnableVertexAttribArray)(index);
    }
}

HIDDEN void glFinish()
{
    if (pass("glFinish()")) {
        REAL(glFinish)();
    }
}

HIDDEN void glFrontFace(GLenum face)
{
    if (pass(QString("glFrontFace(%1)").arg(constantName(face)))) {
        REAL(glFrontFace)(face);
    }
}

HIDDEN void glGenBuffers(GLsizei n, GLuint* names)
{
    const bool carriedOut = pass(QString("glGenBuffers(%1)").arg(n));
    if (carriedOut) {
        REAL(glGenBuffers)(n, names);
    }
    makeNames(n, names, carriedOut, recording().buffers);
}

HIDDEN void glGenTextures(GLsizei n, GLuint* names)
{
    const bool carriedOut = pass(QString("glGenTextures(%1)").arg(n));
    if (carriedOut) {
        REAL(glGenTextures)(n, names);
    }
    makeNames(n, names, carriedOut, recording().textures);
}

HIDDEN void glTexImage2D(GLenum target, GLint level, GLint internalFormat, GLsizei width,
                         GLsizei height, GLint border, GLenum format, GLenum type,
                         const void* pixels)
{
    const QString internal =
        internalFormat == 4 ? "4" : constantName(static_cast<unsigned int>(internalFormat));
    if (pass(QString("glTexImage2D(%1, %2, %3, %4, %5, %6, %7, %8, %9)")
                 .arg(constantName(target))
                 .arg(level)
                 .arg(internal)
                 .arg(width)
                 .arg(height)
                 .arg(border)
                 .arg(constantName(format), constantName(type), dataName(pixels)))) {
        const auto upload = REAL(glTexImage2D);
        upload(target, level, internalFormat, width, height, border, format, type, pixels);
    }
}

HIDDEN void glTexParameteri(GLenum target, GLenum name, GLint value)
{
    if (pass(QString("glTexParameteri(%1, %2, %3)")
                 .arg(constantName(target), constantName(name),
                      constantName(static_cast<unsigned int>(value))))) {
        REAL(glTexParameteri)(target, name, value);
    }
}

HIDDEN void glVertexAttribPointer(GLuint index, GLint size, GLenum type, GLboolean normalised,
                                  GLsizei stride, const void* offset)
{
    if (pass(QString("glVertexAttribPointer(%1, %2, %3, %4, %5, %6)")
                 .arg(index)
                 .arg(size)
                 .arg(constantName(type))
                 .arg(normalised ? "true" : "false")
                 .arg(stride)
                 .arg(reinterpret_cast<std::uintptr_t>(offset)))) {
        REAL(glVertexAttribPointer)(index, size, type, normalised, stride, offset);
    }
}

HIDDEN void glViewport(GLint x, GLint y, GLsizei width, GLsizei height)
{
    if (pass(QString("glViewport(%1, %2, %3, %4)").arg(x).arg(y).arg(width).arg(height))) {
        REAL(glViewport)(x, y, width, height);
    }
}

} // extern "C"

// Has a driver compile a program of OpenGL ES 2.0, draws once with it, and tells what the driver
// says:
//   compileprogram VERTEXFILE FRAGMENTFILE
// Lines of a word, a tab and a text: "driver" and what it calls itself; "message" and one of the
// driver's; "failure" and what is wrong with the program.

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES2/gl2.h>
#include <GLES2/gl2ext.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

namespace {

void tell(const char* what, std::string text)
{
    while (!text.empty() && text.back() == '\n') {
        text.pop_back();
    }
    for (char& c : text) {
        c = c == '\n' || c == '\t' ? ' ' : c;
    }
    std::printf("%s\t%s\n", what, text.c_str());
    // Should the driver crash, what it has told so far is heard.
    std::fflush(stdout);
}

void GL_APIENTRY hear(GLenum, GLenum, GLuint, GLenum, GLsizei, const GLchar* message, const void*)
{
    tell("message", message);
}

/// A context without a window; false where there is none.
bool makeContext()
{
    const auto platformDisplay = reinterpret_cast<PFNEGLGETPLATFORMDISPLAYEXTPROC>(
        eglGetProcAddress("eglGetPlatformDisplayEXT"));
    if (!platformDisplay) {
        return false;
    }
    EGLDisplay display =
        platformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
    if (!eglInitialize(display, nullptr, nullptr) || !eglBindAPI(EGL_OPENGL_ES_API)) {
        return false;
    }
    const EGLint wanted[] = {EGL_RENDERABLE_TYPE, EGL_OPENGL_ES2_BIT, EGL_SURFACE_TYPE, 0,
                             EGL_NONE};
    EGLConfig config = nullptr;
    EGLint found = 0;
    if (!eglChooseConfig(display, wanted, &config, 1, &found) || found == 0) {
        return false;
    }
    const EGLint version[] = {EGL_CONTEXT_CLIENT_VERSION, 2, EGL_CONTEXT_FLAGS_KHR,
                              EGL_CONTEXT_OPENGL_DEBUG_BIT_KHR, EGL_NONE};
    EGLContext context = eglCreateContext(display, config, EGL_NO_CONTEXT, version);
    return context && eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, context);
}

/// Messages arrive within the call that they are about; false where the driver has none.
bool listen()
{
    const auto callback = reinterpret_cast<PFNGLDEBUGMESSAGECALLBACKKHRPROC>(
        eglGetProcAddress("glDebugMessageCallbackKHR"));
    const auto control = reinterpret_cast<PFNGLDEBUGMESSAGECONTROLKHRPROC>(
        eglGetProcAddress("glDebugMessageControlKHR"));
    if (!callback || !control) {
        return false;
    }
    glEnable(GL_DEBUG_OUTPUT_KHR);
    glEnable(GL_DEBUG_OUTPUT_SYNCHRONOUS_KHR);
    control(GL_DONT_CARE, GL_DONT_CARE, GL_DONT_CARE, 0, nullptr, GL_TRUE);
    callback(hear, nullptr);
    return true;
}

/// What is drawn on, and a texture that is read, as the show's effects are.
bool makePictures()
{
    std::array<GLuint, 2> textures = {};
    glGenTextures(textures.size(), textures.data());
    for (const GLuint texture : textures) {
        glBindTexture(GL_TEXTURE_2D, texture);
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 256, 256, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    }
    GLuint target = 0;
    glGenFramebuffers(1, &target);
    glBindFramebuffer(GL_FRAMEBUFFER, target);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, textures[0], 0);
    glViewport(0, 0, 256, 256);
    glEnable(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ONE);
    return glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
}

bool addShader(GLuint program, GLenum type, const char* file)
{
    std::ifstream stream(file);
    const std::string source((std::istreambuf_iterator<char>(stream)), {});
    if (source.empty()) {
        tell("failure", std::string("cannot be read: ") + file);
        return false;
    }
    const GLuint shader = glCreateShader(type);
    const char* text = source.c_str();
    glShaderSource(shader, 1, &text, nullptr);
    glCompileShader(shader);
    GLint compiled = GL_FALSE;
    glGetShaderiv(shader, GL_COMPILE_STATUS, &compiled);
    if (!compiled) {
        std::array<char, 2000> log = {};
        glGetShaderInfoLog(shader, log.size(), nullptr, log.data());
        tell("failure", std::string("does not compile: ") + log.data());
    }
    glAttachShader(program, shader);
    glDeleteShader(shader);
    return compiled == GL_TRUE;
}

/// Some drivers compile in the end only what is drawn with. The work is not waited for: nobody does
/// it.
void draw(GLuint program)
{
    static const std::array<GLfloat, 16> corners = {-1, -1, 0, 1, 1, -1, 0, 1,
                                                    -1, 1,  0, 1, 1, 1,  0, 1};
    glUseProgram(program);
    GLint attributes = 0;
    glGetProgramiv(program, GL_ACTIVE_ATTRIBUTES, &attributes);
    for (GLint i = 0; i < attributes; ++i) {
        std::array<char, 100> name = {};
        GLint size = 0;
        GLenum type = 0;
        glGetActiveAttrib(program, static_cast<GLuint>(i), name.size(), nullptr, &size, &type,
                          name.data());
        const auto location = static_cast<GLuint>(glGetAttribLocation(program, name.data()));
        glVertexAttribPointer(location, 4, GL_FLOAT, GL_FALSE, 0, corners.data());
        glEnableVertexAttribArray(location);
    }
    glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
    for (GLuint location = 0; location < 8; ++location) {
        glDisableVertexAttribArray(location);
    }
}

void tryProgram(const char* vertexFile, const char* fragmentFile)
{
    const GLuint program = glCreateProgram();
    const bool hasVertex = addShader(program, GL_VERTEX_SHADER, vertexFile);
    const bool hasFragment = addShader(program, GL_FRAGMENT_SHADER, fragmentFile);
    if (!hasVertex || !hasFragment) {
        return;
    }
    glLinkProgram(program);
    GLint linked = GL_FALSE;
    glGetProgramiv(program, GL_LINK_STATUS, &linked);
    if (!linked) {
        std::array<char, 2000> log = {};
        glGetProgramInfoLog(program, log.size(), nullptr, log.data());
        tell("failure", std::string("does not link: ") + log.data());
        return;
    }
    draw(program);
    if (const GLenum error = glGetError()) {
        tell("failure", "cannot be drawn with: GL error " + std::to_string(error));
    }
}

} // namespace

int main(int argc, char* argv[])
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: compileprogram VERTEXFILE FRAGMENTFILE\n");
        return 2;
    }
    if (!makeContext() || !listen() || !makePictures()) {
        std::fprintf(stderr, "compileprogram: no context of OpenGL ES 2.0 that tells of itself\n");
        return 1;
    }
    tell("driver", reinterpret_cast<const char*>(glGetString(GL_RENDERER)));
    tryProgram(argv[1], argv[2]);
    // The driver is not taken down: what stands in for the kernel knows only half of that.
    std::_Exit(0);
}

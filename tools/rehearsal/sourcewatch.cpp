#include "sourcewatch.h"

#include "demo/demomain_p.h"
#include "graphics/renderer_p.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QGLShaderProgram>
#include <QGLWidget>
#include <QImage>
#include <QOpenGLContext>

namespace {

const char RESOURCES[] = ":/";
const char DEFAULT_FRAGMENT_FILE[] = "shaders/default_fs.glsl";
const char TITLE_FILE[] = "textures/title.jpg";

/// An editor empties a file and fills it, or renames one over the other, within less.
const int SETTLING_MS = 100;

/// Keeps Qt's message channels shut while it lives: Qt would tell a failure at once, without the
/// file's name and with all of its text.
class Hush
{
public:
    Hush() : before(qInstallMessageHandler([](QtMsgType, const auto&, const QString&) {})) {}
    Hush(const Hush&) = delete;
    Hush& operator=(const Hush&) = delete;
    ~Hush()
    {
        qInstallMessageHandler(before);
    }

private:
    QtMessageHandler before;
};

/// From the resources' root on, without what marks a resource.
QString fileOf(const char* resource)
{
    return QString(resource).mid(int(sizeof(RESOURCES)) - 1);
}

QString vertexFile()
{
    return fileOf(LOOKS_VERTEX_FILE);
}

/// The shaders that make a program with that one.
QStringList fragmentFiles()
{
    QStringList files(DEFAULT_FRAGMENT_FILE);
    for (const Look& look : LOOKS) {
        files << fileOf(look.fragmentFile);
    }
    files.removeDuplicates();
    return files;
}

/// Null, and not just empty, for a file that cannot be read.
QByteArray contentOf(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return QByteArray();
    }
    const QByteArray content = file.readAll();
    return content.isNull() ? QByteArray("") : content;
}

/// What the driver has against a shader; empty for a good one.
QString problemOf(const QString& file, const QString& text)
{
    const Hush hush;
    QGLShader shader(file == vertexFile() ? QGLShader::Vertex : QGLShader::Fragment);
    // Qt puts lines of its own before it, which the driver would count. What is numbered is the
    // next line in OpenGL ES, and this one in OpenGL.
    const char* restart =
        QOpenGLContext::currentContext()->isOpenGLES() ? "#line 1\n" : "#line 0\n";
    return shader.compileSourceCode(restart + text) ? QString()
                                                    : "It is no shader:\n" + shader.log().trimmed();
}

} // namespace

SourceWatch::SourceWatch(DemoMain& demo, QGLWidget& surface, const QString& folder)
    : demo(demo), surface(surface), folder(folder)
{
    files << vertexFile() << fragmentFiles() << TITLE_FILE;
    for (const char* face : FACE_FILES) {
        files << fileOf(face);
    }
    for (const QString& file : qAsConst(files)) {
        contents[file] = contentOf(RESOURCES + file);
        keep(file);
    }

    settling.setSingleShot(true);
    settling.setInterval(SETTLING_MS);
    connect(&settling, &QTimer::timeout, this, &SourceWatch::look);
    const auto settle = [this] { settling.start(); };
    connect(&watcher, &QFileSystemWatcher::fileChanged, this, settle);
    connect(&watcher, &QFileSystemWatcher::directoryChanged, this, settle);
}

void SourceWatch::look()
{
    // The watch comes first: what changes in between is seen, if need be twice.
    watch();
    const QSet<QString> changed = takeChanges();
    surface.makeCurrent();
    loadShaders(changed);
    loadPictures(changed);
}

void SourceWatch::watch()
{
    // Files, since a folder does not tell that one is written to; folders, since the watch of a
    // file ends when another takes its place. What is watched already stays as it is.
    for (const QString& file : qAsConst(files)) {
        const QFileInfo info(QDir(folder).filePath(file));
        if (info.exists()) {
            watcher.addPath(info.filePath());
        }
        if (info.dir().exists()) {
            watcher.addPath(info.path());
        }
    }
}

QSet<QString> SourceWatch::takeChanges()
{
    QSet<QString> changed;
    for (const QString& file : qAsConst(files)) {
        const QByteArray content = contentOf(QDir(folder).filePath(file));
        QByteArray& known = contents[file];
        if (content == known && content.isNull() == known.isNull()) {
            continue;
        }
        known = content;
        if (content.isNull()) {
            emit refused(file, "It cannot be read.");
        } else {
            changed.insert(file);
        }
    }
    return changed;
}

void SourceWatch::loadShaders(const QSet<QString>& changed)
{
    QSet<QString> good;
    for (const QString& file : changed) {
        if (!file.endsWith(".glsl")) {
            continue;
        }
        const QString problem = problemOf(file, QString::fromUtf8(contents[file]));
        if (problem.isEmpty()) {
            keep(file);
            good.insert(file);
        } else {
            emit refused(file, problem);
        }
    }

    // What is replaced must not be current.
    demo.d->renderer.enableShader("");
    const bool isVertexNew = good.contains(vertexFile());
    QStringList apart;
    QString reason;
    for (const QString& file : fragmentFiles()) {
        if (!isVertexNew && !good.contains(file)) {
            continue;
        }
        const QString problem = linkProblem(file);
        if (problem.isEmpty()) {
            loadPrograms(file);
            continue;
        }
        good.remove(file);
        apart << file;
        reason = problem;
    }
    // Whichever of two has just been written is the one to look at; not all are when one is.
    if (!apart.isEmpty()) {
        const QString file = isVertexNew ? vertexFile() : apart.first();
        const QString others = isVertexNew ? apart.join(", ") : vertexFile();
        good.remove(file);
        emit refused(file, "It makes no program with " + others + ":\n" + reason);
    }
    for (const QString& file : qAsConst(good)) {
        emit loaded(file);
    }
}

QString SourceWatch::linkProblem(const QString& fragmentFile) const
{
    const Hush hush;
    QGLShaderProgram program;
    program.addShaderFromSourceCode(QGLShader::Vertex, keptText(vertexFile()));
    program.addShaderFromSourceCode(QGLShader::Fragment, keptText(fragmentFile));
    return program.link() ? QString() : program.log().trimmed();
}

void SourceWatch::loadPrograms(const QString& fragmentFile)
{
    const Hush hush;
    for (int look = 0; look < NUM_LOOKS; ++look) {
        if (fileOf(LOOKS[look].fragmentFile) == fragmentFile) {
            demo.d->shaderPrograms[look] = demo.d->renderer.loadShader(
                LOOKS[look].name, keptPath(vertexFile()), keptPath(fragmentFile));
        }
    }
    if (fragmentFile == DEFAULT_FRAGMENT_FILE) {
        loadDefaultProgram();
    }
}

void SourceWatch::loadDefaultProgram()
{
    // As Renderer::init() makes it; where the corners' attributes are, the program remembers.
    graphics::Renderer::RendererPrivate& renderer = *demo.d->renderer.d;
    QGLShaderProgram& program = renderer.defaultProgram;
    program.removeAllShaders();
    program.addShaderFromSourceCode(QGLShader::Vertex, keptText(vertexFile()));
    program.addShaderFromSourceCode(QGLShader::Fragment, keptText(DEFAULT_FRAGMENT_FILE));
    program.link();
    // They are others in another program.
    renderer.defaultHighlightLoc = program.uniformLocation("a_highlightColor");
    renderer.defaultViewProjLoc = program.uniformLocation("u_viewProjMatrix");
}

void SourceWatch::loadPictures(const QSet<QString>& changed)
{
    for (const QString& file : changed) {
        if (file.endsWith(".glsl")) {
            continue;
        }
        if (QImage::fromData(contents[file]).isNull()) {
            emit refused(file, "It is no picture.");
            continue;
        }
        keep(file);
        const Hush hush;
        for (int face = 0; face < NUM_FACES; ++face) {
            if (file == fileOf(FACE_FILES[face])) {
                demo.d->faceTextures[face] =
                    demo.d->textureLoader.loadTexture(keptPath(file), 0, 0);
            }
        }
        if (file == TITLE_FILE) {
            demo.d->titlePixmap.load(keptPath(file));
        }
        emit loaded(file);
    }
}

void SourceWatch::keep(const QString& file)
{
    const QString path = keptPath(file);
    QDir().mkpath(QFileInfo(path).path());
    QFile copy(path);
    copy.open(QIODevice::WriteOnly);
    copy.write(contents[file]);
}

QString SourceWatch::keptPath(const QString& file) const
{
    return kept.filePath(file);
}

QString SourceWatch::keptText(const QString& file) const
{
    return graphics::g_loadShader(keptPath(file));
}

#include "demo/demomain_p.h"

#include "demo/demobuilder.h"
#include "platform/glsurface.h"
#include "platform/servicelog.h"
#include "platform/soundguard.h"

#include <QGLFramebufferObject>
#include <QGLShaderProgram>
#include <QMatrix4x4>
#include <QMediaPlayer>
#include <QPainter>
#include <QUrl>
#include <QWidget>
#include <QtDebug>

#include <GLES2/gl2.h>

#include <cmath>

namespace {

const char MUSIC_FILE[] = PIXMOTH_MUSIC_DIR "/beat.mp3";

const int FIRST_PART_MS = 4200;
const int LATER_PART_MS = 4800;
const float ARC_MS = 5000.0f; ///< Title, face and fade run over five seconds.
const float CAPTION_MS = 2000.0f;

const unsigned int OPAQUE_WHITE = 0xFFFFFFFF;
const unsigned int CLEAR_COLOR_AND_DEPTH = 3;
const int NUM_COPIES = 7;

/// What is painted over a target before each frame: old frames shine through and fade away.
QColor trailColor()
{
    return QColor(0, 0, 0, 75);
}

/// In [-0.5, 0.5), one qrand().
float jitter()
{
    return static_cast<float>(qrand() % 2147483647 - 1073741823) * 4.656613e-10f;
}

QSharedPointer<graphics::Quad> fullScreenQuad()
{
    return QSharedPointer<graphics::Quad>(
        new graphics::Quad(OPAQUE_WHITE, -1.0f, -1.0f, 1.0f, 1.0f));
}

void clearTarget(graphics::RenderTarget& target)
{
    target.bind();
    glClearColor(0.0f, 0.0f, 0.0f, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT);
    target.release();
}

/// A target as black as an empty screen; a fresh one holds whatever was in its memory.
void initTarget(graphics::RenderTarget& target, int width, int height)
{
    target.init(width, height);
    clearTarget(target);
}

} // namespace

DemoMain::DemoMain(QWidget* widget) : QObject(widget), d(new DemoMainPrivate)
{
    Q_CHECK_PTR(widget);
    d->player = nullptr;
    d->widget = widget;
    qsrand(32451);
}

DemoMain::~DemoMain()
{
    delete d->player;
}

void DemoMain::init()
{
    qsrand(static_cast<unsigned int>(QTime::currentTime().msec()));

    d->renderer.init();

    d->quad = fullScreenQuad();
    d->fadeQuad = fullScreenQuad();
    d->faceQuad = fullScreenQuad();

    d->testTexture = d->textureLoader.loadTexture(":/textures/test1.jpg", 0, 0);
    d->faceTextures[0] = d->textureLoader.loadTexture(":/face/facetestinv.jpg", 0, 0);
    d->faceTextures[1] = d->textureLoader.loadTexture(":/face/facetestinv2.jpg", 0, 0);
    d->faceTextures[2] = d->textureLoader.loadTexture(":/face/facetestinv3.jpg", 0, 0);
    d->titlePixmap.load(":/textures/title.jpg");

    const QString vertexFile(":/shaders/default_vs.glsl");
    d->shaderPrograms[0] =
        d->renderer.loadShader("contrast", vertexFile, ":/shaders/contrast_fs.glsl");
    d->shaderPrograms[1] =
        d->renderer.loadShader("contrast2", vertexFile, ":/shaders/contrast2_fs.glsl");
    d->shaderPrograms[2] =
        d->renderer.loadShader("contrast3", vertexFile, ":/shaders/contrast3_fs.glsl");
    d->shaderPrograms[3] =
        d->renderer.loadShader("contrast4", vertexFile, ":/shaders/contrast4_fs.glsl");

    initTarget(d->effectTarget, 256, 256);
    initTarget(d->titleTarget, 800, 480);

    d->zoomer.init();
    d->wireframes.init();
    if (platform::driverGathersDraws()) {
        // 343 squares, each with a state of its own, would be 45 megabytes.
        d->wireframes.setPause([] { glFinish(); });
    }

    platform::guardBeginningOfMusic(this);
    d->player = new QMediaPlayer(d->widget);
    platform::reportPlaybackErrors(d->player);
    platform::reportMissingSound();
    if (platform::canBePlayed(MUSIC_FILE)) {
        d->player->setMedia(QUrl::fromLocalFile(MUSIC_FILE));
    }

    d->buildRays();
    d->friends.query();
    qDebug("BATTERY: %i", d->systemState.batteryLevel());
    d->parts = DemoBuilder().build(*this);
    d->warmUpCaptions();
    d->partIndex = -1;
    // Silence; only a part's fade brings the music in.
    d->player->setVolume(0);
}

int DemoMain::paint()
{
    static bool first = true;
    static int SYNC_INTERVAL = 4700; // Milliseconds; set anew before its first use.
    static int frame = -1;
    static float a = 0.0f; // The turn of the spread copies.

    // An expose event may still ask for a frame after the last one.
    if (d->partIndex >= d->parts.size()) {
        return 0;
    }

    if (first) {
        d->player->play();
        d->partTime.start();
        first = false;
        SYNC_INTERVAL = FIRST_PART_MS;
    }

    bool switching = false;
    if (d->partIndex == -1) {
        d->partIndex = 0;
        switching = true;
    } else if (d->partTime.elapsed() > SYNC_INTERVAL && d->speech.isReady()) {
        d->partIndex += 1;
        if (d->partIndex > 0) {
            SYNC_INTERVAL = LATER_PART_MS;
        }
        switching = true;
    }
    if (switching) {
        if (d->partIndex >= d->parts.size()) {
            return 0;
        }
        d->switchTo(*d->parts.at(d->partIndex));
        frame = -1;
    }

    frame += 1;
    const DemoPart& part = *d->parts.at(d->partIndex);

    d->beginFrame();
    if (part.title == 1) {
        d->paintTitle();
    }
    d->paintEffect(part, frame);
    d->composite(part, a);
    if (part.face >= 0) {
        d->drawFace(part.face);
    }
    if (part.fade != 0) {
        d->drawFade(part.fade);
    }

    a = a - 0.08;
    return 1;
}

graphics::Renderer* DemoMain::renderer() const
{
    return &d->renderer;
}

Speech* DemoMain::speech() const
{
    return &d->speech;
}

SystemState* DemoMain::systemState() const
{
    return &d->systemState;
}

Friends* DemoMain::friends() const
{
    return &d->friends;
}

void DemoMain::DemoMainPrivate::buildRays()
{
    for (int i = 0; i < 20; ++i) {
        const float angle = static_cast<float>(i) / 10.0 * 3.14;
        const QVector2D direction = QVector2D(sinf(angle), -cosf(angle)).normalized();
        QVector<EfPoint> ray;
        QVector2D position(128.0f, 128.0f);
        for (int j = 0; j < 10; ++j) {
            const int red = qrand() % 255;
            const int green = qrand() % 255;
            const int blue = qrand() % 255;
            ray.append(EfPoint{position, direction, QColor(red, green, blue, 255).darker(400)});
            position += direction * 25.0f;
        }
        rays.append(ray);
    }
}

void DemoMain::DemoMainPrivate::warmUpCaptions()
{
    // While an array buffer is bound, a painter on a target paints nothing.
    renderer.reset();
    QPainter painter(effectTarget.fbo());
    painter.setPen(Qt::white);
    for (const auto& part : qAsConst(parts)) {
        painter.drawText(QPoint(20, 20), part->caption);
    }
    painter.end();
    clearTarget(effectTarget);
}

void DemoMain::DemoMainPrivate::switchTo(const DemoPart& part)
{
    if (!part.text.isEmpty()) {
        speech.speak(part.text);
    }
    partTime.restart();
    radialEffect.reset();
    chooseBackgroundColor();
}

void DemoMain::DemoMainPrivate::chooseBackgroundColor()
{
    const int red = qrand() % 40 + 80;
    const int green = qrand() % 25 + 65;
    const int blue = qrand() % 20 + 45;
    const int factor = qrand() % 20 + 100;
    backgroundColor = QColor(red, green, blue, 255).darker(factor);
    // A full battery makes a calmer picture, an empty one a slightly feverish one.
    backgroundColor = backgroundColor.darker(
        static_cast<int>(90.0f + static_cast<float>(systemState.batteryLevel()) * 0.2f));
}

void DemoMain::DemoMainPrivate::beginFrame()
{
    glClearColor(0.0f, 0.0f, 0.0f, 1.0f);
    renderer.clear(CLEAR_COLOR_AND_DEPTH);
    renderer.reset();
    renderer.setAspectRatio(static_cast<float>(widget->width()) /
                            static_cast<float>(widget->height()));
    setIdentity();
    setViewport();
}

void DemoMain::DemoMainPrivate::paintTitle()
{
    QPainter painter(titleTarget.fbo());
    painter.fillRect(0, 0, titleTarget.width(), titleTarget.height(), trailColor());

    // Opens about its middle line, stays, and closes; past five seconds the height is negative,
    // which Qt takes for the pixmap's own.
    const float arc = static_cast<float>(partTime.elapsed()) / ARC_MS * 3.14f;
    double opening = 2.0 * std::sin(static_cast<double>(arc));
    if (opening > 1.0) {
        opening = 1.0;
    }
    const double height = opening * titlePixmap.height();
    const QRect opened(20, static_cast<int>(400.0 - height * 0.5), titlePixmap.width(),
                       static_cast<int>(height));
    painter.drawPixmap(opened, titlePixmap, QRect(0, 0, 0, 0));
    painter.end();
}

void DemoMain::DemoMainPrivate::paintEffect(const DemoPart& part, int frame)
{
    QPainter painter(effectTarget.fbo());
    const int width = effectTarget.width();
    const int height = effectTarget.height();
    const QPoint centre(width / 2, height / 2);
    switch (part.effect) {
    case 0:
        painter.fillRect(0, 0, width, height, trailColor());
        painter.setPen(QPen(QBrush(backgroundColor, Qt::SolidPattern), 1.0, Qt::SolidLine,
                            Qt::SquareCap, Qt::BevelJoin));
        painter.translate(centre);
        radialEffect.addBranches();
        radialEffect.render(painter);
        break;
    case 1:
        zoomer.renderFrame(&frameBitmap, frame);
        painter.drawImage(0, 0, frameBitmap.image());
        break;
    case 2:
        if (part.dimTrails != 0) {
            painter.fillRect(0, 0, width, height, trailColor());
        }
        painter.translate(centre);
        wireframes.renderFrame(painter, frame);
        break;
    }
    if (!part.caption.isEmpty()) {
        paintCaption(painter, part.caption);
    }
    painter.end();
}

void DemoMain::DemoMainPrivate::paintCaption(QPainter& painter, const QString& caption)
{
    const float progress = static_cast<float>(partTime.elapsed()) / CAPTION_MS;
    const int alpha = progress > 1.0f ? 128 : static_cast<int>(progress * 128);
    painter.setPen(QColor(255, 255, 255, alpha));
    const float r1 = jitter();
    const float r2 = jitter();
    // In the painter's coordinates of the moment: where an effect has moved the origin to the
    // centre the caption starts there, else in the corner.
    painter.drawText(QPoint(static_cast<int>(20.0 + r1 * 0.5), static_cast<int>(20.0 + r2 * 0.5)),
                     caption);
}

void DemoMain::DemoMainPrivate::composite(const DemoPart& part, float phase)
{
    setViewport();
    setIdentity();
    if (part.title != 0) {
        renderer.setTexture2d(&titleTarget.texture(), 0);
        quad->render(&renderer);
    }

    renderer.setTexture2d(&effectTarget.texture(), 0);
    renderer.setBlending(graphics::BlendAdditive);
    renderer.enableShader(part.shader);

    if (part.spread == 0) {
        renderer.setTransformation(graphics::World, QMatrix4x4());
        quad->render(&renderer);
        return;
    }
    // The first copy has no size, and its draw shows nothing.
    const double factor = part.spread == 1 ? 48.1 : part.spread * 5.1;
    for (int i = 0; i < NUM_COPIES; ++i) {
        QMatrix4x4 copy;
        copy.scale(static_cast<float>(i / 200.0 * factor));
        copy.rotate(static_cast<float>(i * 25.5 + phase * 20.0), 0.0f, 0.0f, 1.0f);
        renderer.setTransformation(graphics::World, copy);
        quad->render(&renderer);
    }
}

void DemoMain::DemoMainPrivate::drawFace(int face)
{
    renderer.enableShader("");
    glBlendFunc(GL_SRC_ALPHA, GL_ONE);

    const float s = sinf(static_cast<float>(partTime.elapsed()) / ARC_MS * 3.14f);
    const int alpha = s < 0.0f ? 0 : s > 1.0f ? 255 : static_cast<int>(s * 255.0f);
    faceQuad->setColor(QColor(255, 255, 255, alpha).rgba());

    const float r1 = jitter();
    const float r2 = jitter();
    const float growth = 1.0f + static_cast<float>(partTime.elapsed()) / ARC_MS * 0.75f;
    QMatrix4x4 world;
    world.translate(0.0f, 0.2f);
    world.translate(r1 * 0.5f * 0.01f, r2 * 0.5f * 0.01f);
    // Upside down, because a picture's first row is at the foot of its texture.
    world.scale(growth * 0.23333333f, growth * -0.33333334f);
    renderer.setTransformation(graphics::World, world);

    renderer.setTexture2d(&faceTextures[face], 0);
    faceQuad->render(&renderer);
}

void DemoMain::DemoMainPrivate::drawFade(int fade)
{
    float f = qBound(0.0f, static_cast<float>(partTime.elapsed()) / ARC_MS, 1.0f);
    if (fade == 1) {
        f = 1.0f - f;
    }
    player->setVolume(static_cast<int>(50.0 - 50.0 * f));

    // Drawn with the program and the texture of the moment, so the dark has a texture of its own.
    renderer.setBlending(graphics::BlendAlpha);
    fadeQuad->setColor(QColor(0, 0, 0, static_cast<int>(f * 255)).rgba());
    setIdentity();
    fadeQuad->render(&renderer);
}

void DemoMain::DemoMainPrivate::setViewport()
{
    // The framebuffer counts device pixels, the widget its own.
    const qreal ratio = widget->devicePixelRatioF();
    glViewport(0, 0, qRound(widget->width() * ratio), qRound(widget->height() * ratio));
}

void DemoMain::DemoMainPrivate::setIdentity()
{
    const QMatrix4x4 identity;
    renderer.setTransformation(graphics::World, identity);
    renderer.setTransformation(graphics::View, identity);
    renderer.setTransformation(graphics::Projection, identity);
}

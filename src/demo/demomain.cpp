#include "demo/demomain_p.h"

#include "demo/demobuilder.h"
#include "demo/timing.h"
#include "graphics/pausingdevice.h"
#include "platform/besidefile.h"
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

#include <algorithm>
#include <cmath>
#include <iterator>

namespace {

const char MUSIC_FILE[] = PIXMOTH_MUSIC_DIR "/beat.mp3";

const float ARC_MS = 5000.0f; ///< Title, face and fade run over five seconds.
const float CAPTION_MS = 2000.0f;
const float HALF_TURN = 3.14f; ///< Pi to two places, as in all arcs here.

const unsigned int OPAQUE_WHITE = 0xFFFFFFFF;
const int NUM_COPIES = 7;
const double WIDE_REACH = 48.1;     ///< The size of the copies, in 200ths for each,
const double REACH_OF_ONE = 5.1;    ///< and that of spread n, n times this.
const double FULL_VOLUME = 50.0;    ///< Of 100.
const double CAPTION_CORNER = 20.0; ///< Pixels from the origin, both ways.
const int LATTICE_ROW = 7;          ///< Points of the lattice along an axis.

/// What is painted over a target before each frame: old frames shine through and fade away.
QColor trailColor()
{
    return QColor(0, 0, 0, 75);
}

/// In [-0.5, 0.5), one qrand().
float jitter()
{
    const int numbers = 2147483647;
    const int middle = 1073741823;
    const float step = 4.656613e-10f; // One of 2^31.
    return static_cast<float>(qrand() % numbers - middle) * step;
}

bool hasFace(const DemoPart& part)
{
    return part.face >= 0 && part.face < NUM_FACES;
}

/// Tells what the part asks for and is not there; it plays without.
void reportUnknown(const DemoPart& part, int number)
{
    const bool knownLook = std::any_of(std::begin(LOOKS), std::end(LOOKS), [&](const Look& look) {
        return part.shader == QLatin1String(look.name);
    });
    if (!knownLook) {
        qWarning("Part %i: there is no look \"%s\"", number, qPrintable(part.shader));
    }
    if (part.face >= NUM_FACES) {
        qWarning("Part %i: there is no face %i", number, part.face);
    }
    if (part.effect >= DemoPart::NUM_EFFECTS) {
        qWarning("Part %i: there is no effect %i", number, part.effect);
    }
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

/// Clears the new target to black, since its memory may hold anything.
void initTarget(graphics::RenderTarget& target, int width, int height)
{
    target.init(width, height);
    clearTarget(target);
}

} // namespace

DemoMain::DemoMain(QWidget* widget) : QObject(widget), d(new DemoMainPrivate)
{
    Q_CHECK_PTR(widget);
    d->widget = widget;
    qsrand(32451);
}

DemoMain::~DemoMain()
{
    d->player.reset();
}

void DemoMain::init()
{
    qsrand(static_cast<unsigned int>(QTime::currentTime().msec()));

    d->renderer.init();

    d->quad = fullScreenQuad();
    d->fadeQuad = fullScreenQuad();
    d->faceQuad = fullScreenQuad();

    d->testTexture = d->textureLoader.loadTexture(":/textures/test1.jpg", 0, 0);
    for (int face = 0; face < NUM_FACES; ++face) {
        d->faceTextures[face] = d->textureLoader.loadTexture(FACE_FILES[face], 0, 0);
    }
    d->titlePixmap.load(":/textures/title.jpg");

    for (int look = 0; look < NUM_LOOKS; ++look) {
        d->shaderPrograms[look] =
            d->renderer.loadShader(LOOKS[look].name, LOOKS_VERTEX_FILE, LOOKS[look].fragmentFile);
    }

    initTarget(d->effectTarget, 256, 256);
    initTarget(d->titleTarget, 800, 480);

    d->zoomer.init();
    d->wireframes.init();

    platform::guardBeginningOfMusic(this);
    d->player = std::make_unique<QMediaPlayer>(d->widget);
    platform::reportPlaybackErrors(d->player.get());
    platform::reportMissingSound();
    const QString music = platform::installedOrBeside(MUSIC_FILE);
    if (platform::canBePlayed(music)) {
        d->player->setMedia(QUrl::fromLocalFile(music));
    }

    d->buildRays();
    d->friends.query();
    qDebug("BATTERY: %i", d->systemState.batteryLevel());
    d->parts = DemoBuilder().build(*this);
    d->warmUpCaptions();
    d->partIndex = -1;
    // The music stays silent until a part fades it in.
    d->player->setVolume(0);
}

int DemoMain::paint()
{
    static bool first = true;
    static int SYNC_INTERVAL = 4700; // Milliseconds. The first frame sets it, before any use.
    static int frame = -1;           // Of the part, counted from 0.
    static float a = 0.0f;           // The phase of the copies' turn, through the whole show.

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
        reportUnknown(*d->parts.at(d->partIndex), d->partIndex + 1);
        d->switchTo(*d->parts.at(d->partIndex));
        frame = -1;
    }

    frame += 1;
    const DemoPart& part = *d->parts.at(d->partIndex);

    d->beginFrame();
    if (part.title == DemoPart::PaintedTitle) {
        d->paintTitle();
    }
    d->paintEffect(part, frame);
    d->composite(part, static_cast<double>(a));
    if (hasFace(part)) {
        d->drawFace(part.face);
    }
    if (part.fade != DemoPart::NoFade) {
        d->drawFade(part.fade);
    }

    a = static_cast<float>(static_cast<double>(a) - 0.08);
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
        const auto angle = static_cast<float>(i / 10.0 * 3.14);
        const QVector2D direction = QVector2D(std::sin(angle), -std::cos(angle)).normalized();
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
    QStringList captions;
    for (const auto& part : qAsConst(parts)) {
        captions.append(part->caption);
    }
    // As one text: each growth of the store costs a draw of its own, and its compilation.
    painter.drawText(QPointF(CAPTION_CORNER, CAPTION_CORNER), captions.join(' '));
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
    // From 90 (lighter) with an empty battery to 110 (darker) with a full one.
    backgroundColor = backgroundColor.darker(
        static_cast<int>(90.0f + static_cast<float>(systemState.batteryLevel()) * 0.2f));
}

void DemoMain::DemoMainPrivate::beginFrame()
{
    glClearColor(0.0f, 0.0f, 0.0f, 1.0f);
    renderer.clear(graphics::ClearColor | graphics::ClearDepth);
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
    const float arc = static_cast<float>(partTime.elapsed()) / ARC_MS * HALF_TURN;
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
    case DemoPart::Tree:
        painter.fillRect(0, 0, width, height, trailColor());
        painter.setPen(QPen(QBrush(backgroundColor, Qt::SolidPattern), 1.0, Qt::SolidLine,
                            Qt::SquareCap, Qt::BevelJoin));
        painter.translate(centre);
        radialEffect.addBranches();
        radialEffect.render(painter);
        break;
    case DemoPart::Tunnel:
        zoomer.renderFrame(&frameBitmap, frame);
        painter.drawImage(0, 0, frameBitmap.image());
        break;
    case DemoPart::Lattice:
        if (part.dimTrails != 0) {
            painter.fillRect(0, 0, width, height, trailColor());
        }
        painter.translate(centre);
        paintLattice(painter, frame);
        break;
    }
    if (!part.caption.isEmpty()) {
        paintCaption(painter, part.caption);
    }
    painter.end();
}

void DemoMain::DemoMainPrivate::paintLattice(QPainter& painter, int frame)
{
    if (!platform::driverGathersDraws()) {
        wireframes.renderFrame(painter, frame);
        return;
    }
    // 343 squares, each with a state of its own, would be 45 megabytes; so row by row.
    graphics::PausingDevice device(painter, LATTICE_ROW);
    QPainter pausing(&device);
    wireframes.renderFrame(pausing, frame);
}

void DemoMain::DemoMainPrivate::paintCaption(QPainter& painter, const QString& caption)
{
    const float progress = static_cast<float>(partTime.elapsed()) / CAPTION_MS;
    const int alpha = progress > 1.0f ? 128 : static_cast<int>(progress * 128);
    painter.setPen(QColor(255, 255, 255, alpha));
    const double r1 = static_cast<double>(jitter());
    const double r2 = static_cast<double>(jitter());
    // In the painter's coordinates of the moment: where an effect has moved the origin to the
    // centre the caption starts there, else in the corner.
    painter.drawText(QPoint(static_cast<int>(CAPTION_CORNER + r1 * 0.5),
                            static_cast<int>(CAPTION_CORNER + r2 * 0.5)),
                     caption);
}

void DemoMain::DemoMainPrivate::composite(const DemoPart& part, double phase)
{
    setViewport();
    setIdentity();
    if (part.title != DemoPart::NoTitle) {
        renderer.setTexture2d(&titleTarget.texture(), 0);
        quad->render(&renderer);
    }

    renderer.setTexture2d(&effectTarget.texture(), 0);
    renderer.setBlending(graphics::BlendAdditive);
    renderer.enableShader(part.shader);

    if (part.spread == DemoPart::OneQuad) {
        renderer.setTransformation(graphics::World, QMatrix4x4());
        quad->render(&renderer);
        return;
    }
    // The first copy has the size 0 and shows nothing; it is drawn all the same.
    const double reach =
        part.spread == DemoPart::WideCopies ? WIDE_REACH : part.spread * REACH_OF_ONE;
    for (int i = 0; i < NUM_COPIES; ++i) {
        QMatrix4x4 copy;
        copy.scale(static_cast<float>(i / 200.0 * reach));
        copy.rotate(static_cast<float>(i * 25.5 + phase * 20.0), 0.0f, 0.0f, 1.0f);
        renderer.setTransformation(graphics::World, copy);
        quad->render(&renderer);
    }
}

void DemoMain::DemoMainPrivate::drawFace(int face)
{
    renderer.enableShader("");
    glBlendFunc(GL_SRC_ALPHA, GL_ONE);

    const float s = std::sin(static_cast<float>(partTime.elapsed()) / ARC_MS * HALF_TURN);
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
    if (fade == DemoPart::FadeIn) {
        f = 1.0f - f;
    }
    player->setVolume(static_cast<int>(FULL_VOLUME - FULL_VOLUME * static_cast<double>(f)));

    // With the program and the texture that were used last: the texture's alpha counts, too.
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

#pragma once

#include "demo/demomain.h"

#include "demo/demopart.h"
#include "demo/looks.h"
#include "device/friends.h"
#include "device/speech.h"
#include "device/systemstate.h"
#include "effects/framebitmap.h"
#include "effects/nzoomer.h"
#include "effects/radialeffect.h"
#include "effects/wireframes.h"
#include "graphics/defaulttextureloader.h"
#include "graphics/quad.h"
#include "graphics/renderer.h"
#include "graphics/rendertarget.h"

#include <QColor>
#include <QPixmap>
#include <QTime>
#include <QVector2D>

class QGLShaderProgram;
class QMediaPlayer;

/// One point of a ray.
struct EfPoint
{
    QVector2D position;
    QVector2D direction; ///< Unit length.
    QColor color;
};

/// The members are destroyed in reverse order, textures and targets before the renderer.
struct DemoMain::DemoMainPrivate
{
    void buildRays();
    /// Has the painter store the letters of all captions now: with a new letter its store may grow,
    /// and in the middle of the show that would cost a tick.
    void warmUpCaptions();
    void chooseBackgroundColor();
    void switchTo(const DemoPart& part);

    // One frame, in this order.
    void beginFrame();
    void paintTitle();
    void paintEffect(const DemoPart& part, int frame);
    void paintLattice(QPainter& painter, int frame);
    void paintCaption(QPainter& painter, const QString& caption);
    void composite(const DemoPart& part, double phase);
    void drawFace(int face);
    void drawFade(int fade);

    void setViewport();
    void setIdentity();

    QWidget* widget = nullptr; ///< Not owned.
    graphics::Renderer renderer;
    Speech speech;
    graphics::DefaultTextureLoader textureLoader;
    SystemState systemState;
    Friends friends;
    graphics::Texture2d testTexture; ///< Reserve: a picture to try looks on.
    QSharedPointer<graphics::Quad> quad;
    QSharedPointer<graphics::Quad> fadeQuad;
    QSharedPointer<graphics::Quad> faceQuad;
    graphics::Texture2d faceTextures[NUM_FACES]; ///< By a part's `face`.
    QPixmap titlePixmap;
    graphics::RenderTarget effectTarget;
    graphics::RenderTarget titleTarget;
    QSharedPointer<QGLShaderProgram> shaderPrograms[NUM_LOOKS]; ///< Reserve: parts name theirs.
    FrameBitmap frameBitmap;
    NZoomer zoomer;
    Wireframes wireframes;
    RadialEffect radialEffect;
    QColor backgroundColor; ///< The pen of the tree, chosen at every switch.
    QVector<QSharedPointer<DemoPart>> parts;
    int partIndex = -1;
    QTime partTime;
    std::unique_ptr<QMediaPlayer> player; ///< Dies first of all, see the destructor of DemoMain.
    QVector<QVector<EfPoint>> rays;       ///< Reserve: built, with its draws.
};

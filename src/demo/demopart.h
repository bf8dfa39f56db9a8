#pragma once

#include <QSharedPointer>
#include <QString>
#include <QVector>

class DemoMain;

/// One timed part of the show: what is said, what is drawn, how it is laid on screen.
/// A plain record: DemoBuilder writes it, DemoMain::paint() reads it, nobody else touches it.
/// Parts live on the heap and are held through QSharedPointer<DemoPart> only. The enumerations name
/// what the numbers of a part mean; the fields are numbers, since some take others besides.
class DemoPart
{
public:
    /// The face that is blended over the picture.
    enum Face { NoFace = -1, CoyFace, TenderFace, JealousFace };
    /// What is painted: by RadialEffect, by NZoomer, by Wireframes.
    enum Effect { NoEffect = -1, Tree, Tunnel, Lattice, NUM_EFFECTS };
    /// How the painted picture is laid on screen: once, or in seven copies, each larger than the
    /// one before and turned. Any number from 2 on stands for copies as well, which reach the
    /// farther the larger it is; WideCopies reach as far as a spread of 9.4 would.
    enum Spread { OneQuad, WideCopies };
    enum Fade { NoFade, FadeIn, FadeOut };
    /// KeptTitle shows what an earlier part has left of the title.
    enum Title { NoTitle, PaintedTitle, KeptTitle };

    DemoPart();
    virtual ~DemoPart();

    /// Reserve: a hook per frame for subclasses.
    virtual void update(DemoMain& demo);

    QVector<QSharedPointer<DemoPart>> children; ///< Reserve: parts within parts.
    QString text;                               ///< Spoken when the part starts, unless empty.
    int face;                                   ///< A Face; any other negative: none.
    int effect;                                 ///< An Effect; any other: none.
    QString shader;  ///< The look: the name of the program that draws the effect, see looks.h.
    int spread;      ///< A Spread, or how far seven copies reach.
    bool flag;       ///< Reserve.
    int fade;        ///< A Fade, over 5000 ms; any other but 0: FadeOut.
    int title;       ///< A Title; any other but 0: KeptTitle.
    int dimTrails;   ///< With the lattice: 0 lets old frames pile up.
    QString caption; ///< Drawn over the effect in white, unless empty.
    int spare;       ///< Reserve; 2 in two parts of the script.
};

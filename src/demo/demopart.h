#pragma once

#include <QSharedPointer>
#include <QString>
#include <QVector>

class DemoMain;

/// One timed part of the show: what is said, what is drawn, how it is laid on screen.
/// A plain record: DemoBuilder writes it, DemoMain::paint() reads it, nobody else touches it.
/// Parts live on the heap and are held through QSharedPointer<DemoPart> only.
class DemoPart
{
public:
    DemoPart();
    virtual ~DemoPart();

    /// Reserve: a hook per frame for subclasses.
    virtual void update(DemoMain& demo);

    QVector<QSharedPointer<DemoPart>> children; ///< Reserve: parts within parts.
    QString text;                               ///< Spoken when the part starts, unless empty.
    int face;        ///< The face blended over the picture, 0..2; negative: none.
    int effect;      ///< 0 radial tree, 1 zoomer, 2 wireframes; any other: none.
    QString shader;  ///< Name of the program that draws the effect on screen.
    int spread;      ///< 0 one quad, 1 seven copies scaled by 48.1, n seven scaled by n × 5.1.
    bool flag;       ///< Reserve.
    int fade;        ///< 0 none, 1 in from black, any other out to black; over 5000 ms.
    int title;       ///< 0 none, 1 painted and shown, any other shown as it stands.
    int dimTrails;   ///< With wireframes: 0 lets old frames pile up.
    QString caption; ///< Drawn over the effect in white, unless empty.
    int spare;       ///< Reserve; 2 in two parts of the script.
};

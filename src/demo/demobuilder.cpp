#include "demo/demobuilder.h"

#include "demo/demomain.h"
#include "device/friends.h"
#include "device/systemstate.h"

namespace {

const int LOW_BATTERY = 29; ///< Percent: up to this level the phone asks to be plugged in,
const int HALF_EMPTY = 49;  ///< and up to this one it complains.

using Part = QSharedPointer<DemoPart>;

Part newPart()
{
    return Part(new DemoPart);
}

/// The shared form of the parts that name a friend; `line` has a %1 for the name.
Part friendPart(Friends* friends, int friendIndex, const QString& line)
{
    Part part = newPart();
    part->text = line.arg(friends->name(friendIndex));
    part->caption = friends->name(friendIndex);
    part->face = DemoPart::JealousFace;
    return part;
}

Part batteryPart(int level)
{
    Part part = newPart();
    if (level <= LOW_BATTERY) {
        part->text = "Care about me more";
        part->face = DemoPart::JealousFace;
    } else if (level <= HALF_EMPTY) {
        part->text = "You should understand my needs";
        part->face = DemoPart::JealousFace;
    } else {
        part->text = "I know you are taking care of me";
        part->face = DemoPart::TenderFace;
    }
    part->caption = QString("Battery %1%").arg(level);
    part->effect = DemoPart::Tunnel;
    part->shader = "contrast";
    part->spread = DemoPart::OneQuad;
    return part;
}

Part lovePart(int level, SystemState* systemState)
{
    Part part = newPart();
    if (level > LOW_BATTERY || systemState->powerState() == "wall power") {
        part->text = "I love you";
        part->face = DemoPart::TenderFace;
    } else {
        part->text = "Please plug me in my love";
        part->caption = "Plug me in";
        part->face = DemoPart::CoyFace;
    }
    part->effect = DemoPart::Tunnel;
    part->shader = "contrast";
    part->spread = DemoPart::OneQuad;
    return part;
}

} // namespace

DemoBuilder::DemoBuilder() = default;

QVector<QSharedPointer<DemoPart>> DemoBuilder::build(DemoMain& demo)
{
    Friends* friends = demo.friends();
    SystemState* systemState = demo.systemState();
    QVector<Part> parts;

    // Out of the dark, the lines spread.
    Part part = newPart();
    part->fade = DemoPart::FadeIn;
    part->spread = 2;
    parts.append(part);

    part = newPart();
    part->spread = 3;
    parts.append(part);

    part = newPart();
    part->caption = "Tramo";
    part->spread = 4;
    parts.append(part);

    // The phone introduces itself.
    part = newPart();
    part->text = "My name is nokia n nine hundred";
    part->face = DemoPart::CoyFace;
    part->effect = DemoPart::Lattice;
    part->shader = "contrast";
    part->spread = 6;
    part->spare = 2;
    parts.append(part);

    part = newPart();
    part->text = "Do not call me cute";
    part->face = DemoPart::CoyFace;
    part->title = DemoPart::PaintedTitle;
    parts.append(part);

    parts.append(newPart());

    // How its owner cares for it.
    const int level = systemState->batteryLevel();
    parts.append(batteryPart(level));
    parts.append(lovePart(level, systemState));

    part = newPart();
    part->text = "But there is something";
    part->face = DemoPart::TenderFace;
    part->effect = DemoPart::Tunnel;
    part->shader = "contrast";
    part->spread = DemoPart::OneQuad;
    parts.append(part);

    // It has read the address book.
    parts.append(friendPart(friends, 0, "Who is %1"));

    part = newPart();
    part->text = "Your bitch?";
    part->caption = "Bitch?";
    part->face = DemoPart::JealousFace;
    part->spread = 6;
    parts.append(part);

    part = friendPart(friends, 2, "And who is %1");
    part->spread = 6;
    parts.append(part);

    part = newPart();
    part->text = "Do not call me cute";
    part->face = DemoPart::JealousFace;
    part->title = DemoPart::PaintedTitle;
    parts.append(part);

    // Cute or not.
    part = newPart();
    part->text = "Do you call me cute";
    part->face = DemoPart::CoyFace;
    part->effect = DemoPart::Lattice;
    part->spread = 6;
    part->title = DemoPart::PaintedTitle;
    part->spare = 2;
    parts.append(part);

    part = friendPart(friends, 3, "How about %1");
    part->spread = 4;
    part->title = DemoPart::PaintedTitle;
    parts.append(part);

    part = newPart();
    part->text = "Do not call me cute";
    part->face = DemoPart::TenderFace;
    part->title = DemoPart::PaintedTitle;
    parts.append(part);

    // And into the dark again.
    parts.append(newPart());

    part = newPart();
    part->text = "Unless you mean it";
    part->title = DemoPart::PaintedTitle;
    parts.append(part);

    part = newPart();
    part->fade = DemoPart::FadeOut;
    parts.append(part);

    return parts;
}

#include "demo/demopart.h"

DemoPart::DemoPart()
    : text("")
    , face(NoFace)
    , effect(Tree)
    , shader("contrast2")
    , spread(WideCopies)
    , flag(false)
    , fade(NoFade)
    , title(NoTitle)
    , dimTrails(1)
    , spare(1)
{
}

DemoPart::~DemoPart() = default;

void DemoPart::update(DemoMain&) {}

#include "demo/demopart.h"

DemoPart::DemoPart()
    : text("")
    , face(-1)
    , effect(0)
    , shader("contrast2")
    , spread(1)
    , flag(false)
    , fade(0)
    , title(0)
    , dimTrails(1)
    , spare(1)
{
}

DemoPart::~DemoPart() = default;

void DemoPart::update(DemoMain&) {}

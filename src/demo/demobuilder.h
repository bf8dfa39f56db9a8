#pragma once

#include "demo/demopart.h"

#include <QSharedPointer>
#include <QVector>

class DemoMain;

/// Writes the show: its parts, in order, with the names, the battery and the power of the moment.
class DemoBuilder
{
public:
    DemoBuilder();

    /// A new list of the parts, in order. Asks `demo` for three friends (so query() them before),
    /// the battery level and, when that is low, the power state.
    QVector<QSharedPointer<DemoPart>> build(DemoMain& demo);
};

#pragma once

class QGLWidget;
class QString;
class QWidget;

namespace platform {

/// What keeps the show from being drawn on a GL surface, whose context must be current unless it is
/// not valid; empty where nothing does.
QString glProblem(const QGLWidget* surface);

/// Tells a GL surface within a window that it can be seen, where Qt has not; until then it draws
/// nothing. Call it before each frame; it costs nothing once the surface knows.
void wakeSurface(QWidget* surface);

/// Whether the driver of the current context is the software one that gathers the draws of a whole
/// frame, each with a copy of all state, before it carries out the first.
bool driverGathersDraws();

} // namespace platform

#pragma once

class QWidget;

namespace platform {

/// Lets no pointer be seen over a widget, or over those within it that have no window of their own
/// in the window system; one that has needs a call of its own.
void hidePointer(QWidget* widget);

} // namespace platform

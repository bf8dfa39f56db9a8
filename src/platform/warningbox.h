#pragma once

class QString;

namespace platform {

/// A modal warning box with no parent and one button, OK; returns when it is closed. Here, so that
/// the engine can ask for one without knowing widgets.
void showWarningBox(const QString& title, const QString& text);

} // namespace platform

#pragma once

#include <QString>

namespace addressbook {

/// A name as it can be spoken, written on the screen and put into the log: one line of visible text
/// of 100 characters at most, blanks made single. Empty where nothing of `text` can be seen.
///
/// Marks that would turn the direction of the writing around it, and other signs without a picture,
/// are left out. What shapes the sign before it (joiners, variation selectors) stays there.
QString visibleName(const QString& text);

} // namespace addressbook

#include "platform/hiddenpointer.h"

#include <QCursor>
#include <QPixmap>
#include <QWidget>

namespace platform {

void hidePointer(QWidget* widget)
{
    // Not Qt::BlankCursor: under Wayland Qt heeds that only when it has shown another before.
    QPixmap nothing(1, 1);
    nothing.fill(Qt::transparent);
    widget->setCursor(QCursor(nothing));
}

} // namespace platform

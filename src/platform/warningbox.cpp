#include "platform/warningbox.h"

#include <QMessageBox>

namespace platform {

void showWarningBox(const QString& title, const QString& text)
{
    QMessageBox::warning(nullptr, title, text, QMessageBox::Ok);
}

} // namespace platform

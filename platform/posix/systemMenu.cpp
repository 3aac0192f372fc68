#include "platform/forms.h"

#include <QWidget>

namespace platform {

// The window manager draws the menu and the close button; before the window is shown, a program can
// request that Close is omitted. Some, such as openbox, show the button regardless, and the window
// has to ignore it.
void trimSystemMenu(QWidget *window) {
    const bool visible = window->isVisible();
    Qt::WindowFlags flags = window->windowFlags();
    flags |= Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint;
    flags &= ~(Qt::WindowCloseButtonHint | Qt::WindowContextHelpButtonHint |
               Qt::WindowMinMaxButtonsHint);
    window->setWindowFlags(flags);
    if (visible)
        window->show();
}

} // namespace platform

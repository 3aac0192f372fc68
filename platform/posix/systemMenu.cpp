#include "platform/forms.h"

#include <QWidget>

namespace platform {

// The window manager draws the menu and the close button; a program can only ask it, before the
// window is shown, to leave Close out. Some, openbox among them, draw the button whatever they are
// asked; what is still offered, the window has to ignore.
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

#include "platform/forms.h"
#include "storage/windows/windowsHeader.h"

#include <QWidget>

namespace platform {

void trimSystemMenu(QWidget *window) {
    auto *handle = reinterpret_cast<HWND>(window->winId());
    const HMENU menu = GetSystemMenu(handle, FALSE);
    if (!menu)
        return;
    const int count = GetMenuItemCount(menu);
    if (count <= 0)
        return;
    // 0x1400: by position, removing.
    constexpr UINT kByPosition = MF_BYPOSITION | MF_REMOVE;
    RemoveMenu(menu, static_cast<UINT>(count - 1), kByPosition);
    RemoveMenu(menu, static_cast<UINT>(count - 2), kByPosition);
    DrawMenuBar(handle);
}

} // namespace platform

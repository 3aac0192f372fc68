#include "workspace/accessibleWindow.h"

#include <QAccessibleWidget>
#include <QWidget>

namespace {

// Dialogs and boxes have classes, and roles, of their own.
QAccessibleInterface *windowInterface(const QString &, QObject *object) {
    if (object == nullptr || object->metaObject() != &QWidget::staticMetaObject)
        return nullptr;
    auto *window = static_cast<QWidget *>(object);
    if (!window->isWindow())
        return nullptr;
    return new QAccessibleWidget(window, QAccessible::Window); // NOLINT(*-owning-memory): Qt's
}

} // namespace

void InstallAccessibleWindows() {
    QAccessible::installFactory(windowInterface);
}

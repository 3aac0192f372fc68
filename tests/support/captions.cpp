#include "tests/support/captions.h"

#include <QApplication>
#include <QFontDatabase>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStyle>
#include <QStyleOptionButton>

#include <gtest/gtest.h>

void expectCaptionsFit(const QWidget &window) {
    const QMargins frame(1, 1, 1, 1); // neighbours share a pixel
    for (const auto *control : window.findChildren<QWidget *>()) {
        const auto *parent = control->parentWidget();
        if (control->objectName().startsWith("qt_") || !control->isVisible())
            continue;
        if (parent != &window && parent->metaObject() != &QGroupBox::staticMetaObject)
            continue; // a part of a control
        const std::string name = control->objectName().toStdString();
        EXPECT_TRUE(parent->rect().contains(control->geometry())) << name;
        for (const auto *other : parent->findChildren<QWidget *>(Qt::FindDirectChildrenOnly))
            EXPECT_TRUE(other == control || !other->isVisible() ||
                        !other->geometry().intersects(control->geometry() - frame))
                << name << " and " << other->objectName().toStdString();
    }
    if (QFontDatabase::families().isEmpty())
        GTEST_SKIP() << "no fonts to measure";
    const std::string style = QApplication::style()->objectName().toStdString();
    const auto expectRoom = [&](const QWidget *control, QSize text, QSize room) {
        EXPECT_TRUE(text.width() <= room.width() && text.height() <= room.height())
            << control->objectName().toStdString() << " in " << style;
    };
    for (const auto *label : window.findChildren<QLabel *>())
        expectRoom(label, label->sizeHint(), label->size());
    for (const auto *edit : window.findChildren<QLineEdit *>())
        expectRoom(edit, {0, edit->fontMetrics().height() + 2}, edit->size());
    for (const auto *button : window.findChildren<QPushButton *>()) {
        QStyleOptionButton option;
        option.initFrom(button);
        const QRect room =
            button->style()->subElementRect(QStyle::SE_PushButtonContents, &option, button);
        const QSize text = button->fontMetrics().size(Qt::TextShowMnemonic, button->text());
        expectRoom(button, text, {room.width(), button->height()});
    }
}

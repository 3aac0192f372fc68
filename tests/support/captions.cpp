#include "tests/support/captions.h"

#include <QApplication>
#include <QFontDatabase>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStyle>
#include <QStyleOptionButton>

#include <gtest/gtest.h>

void expectNothingCutOff(const QWidget &window) {
    if (QFontDatabase::families().isEmpty())
        GTEST_SKIP() << "no letters to measure";
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

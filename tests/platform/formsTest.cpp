#include "platform/forms.h"

#include <QApplication>
#include <QMessageBox>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

namespace {

// Answers the next message box.
void pressInBox(Qt::Key key, QMessageBox::Icon &icon, QString &text, int &buttons) {
    QTimer::singleShot(
        50,
        [&, key] {
            auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
            ASSERT_NE(box, nullptr);
            icon = box->icon();
            text = box->textFormat() == Qt::PlainText ? box->text() : QStringLiteral("interpreted");
            buttons = static_cast<int>(box->buttons().size());
            QTest::keyClick(box, key);
        });
}

} // namespace

TEST(forms, shows_the_box_of_a_style_and_gives_its_answer) {
    const struct {
        int style;
        Qt::Key key;
        QMessageBox::Icon icon;
        int buttons;
        int answer;
    } rows[] = {
        {16, Qt::Key_Escape, QMessageBox::Critical, 1, 1},
        {49, Qt::Key_Return, QMessageBox::Warning, 2, 1},
        {49, Qt::Key_Escape, QMessageBox::Warning, 2, 2},
        {64, Qt::Key_Return, QMessageBox::Information, 1, 1},
    };
    platform::prompts() = {};
    for (const auto &row : rows) {
        QMessageBox::Icon icon = QMessageBox::NoIcon;
        QString text;
        int buttons = 0;
        pressInBox(row.key, icon, text, buttons);
        EXPECT_EQ(platform::MsgBox("<b>a & b.vl2</b>", row.style, "Orvel"), row.answer);
        EXPECT_EQ(icon, row.icon);
        EXPECT_EQ(buttons, row.buttons);
        EXPECT_EQ(text, "<b>a & b.vl2</b>");
    }
}

#include "platform/forms.h"

#include <QApplication>
#include <QMessageBox>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

TEST(forms, shows_the_box_of_a_style_and_gives_its_answer) {
    const struct {
        int style;
        Qt::Key key;
        QMessageBox::Icon icon;
        int buttons;
        int answer;
        bool inRepaint = false; // of a long operation, in which input to the windows is discarded
    } rows[] = {
        {16, Qt::Key_Escape, QMessageBox::Critical, 1, 1},
        {49, Qt::Key_Return, QMessageBox::Warning, 2, 1},
        {49, Qt::Key_Escape, QMessageBox::Warning, 2, 2},
        {64, Qt::Key_Return, QMessageBox::Information, 1, 1},
        {49, Qt::Key_Escape, QMessageBox::Warning, 2, 2, true},
    };
    platform::prompts() = {};
    for (const auto &row : rows) {
        QTimer::singleShot(50, [&] {
            auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
            ASSERT_NE(box, nullptr);
            EXPECT_EQ(box->icon(), row.icon);
            EXPECT_EQ(box->text(), "<b>a & b.vl2</b>");
            EXPECT_EQ(box->textFormat(), Qt::PlainText);
            EXPECT_EQ(box->buttons().size(), row.buttons);
            QTest::keyClick(box, row.key);
            EXPECT_FALSE(box->isVisible());
            if (box->isVisible())
                box->done(-1);
        });
        int answer = 0;
        const auto ask = [&] { answer = platform::MsgBox("<b>a & b.vl2</b>", row.style, "Orvel"); };
        if (row.inRepaint) {
            QTest::qSleep(30); // the time between two repaints
            QTimer::singleShot(0, ask);
            platform::repaintPending();
        } else {
            ask();
        }
        EXPECT_EQ(answer, row.answer);
    }
}

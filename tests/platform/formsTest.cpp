#include "platform/forms.h"

#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

namespace {

// Answers the message box that is on screen once it is there.
void pressInBox(Qt::Key key, QMessageBox::Icon &icon, QString &text, int &buttons) {
    QTimer::singleShot(
        50,
        [&, key] {
            auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
            ASSERT_NE(box, nullptr);
            icon = box->icon();
            text =
                box->textFormat() == Qt::PlainText ? box->text() : QStringLiteral("not as it is");
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
        {16, Qt::Key_Return, QMessageBox::Critical, 1, 1},
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

TEST(forms, shows_one_hourglass_however_often_it_is_set) {
    QWidget window;
    platform::setMousePointer(&window, 11);
    platform::setMousePointer(&window, 11);
    ASSERT_NE(QGuiApplication::overrideCursor(), nullptr);
    EXPECT_EQ(QGuiApplication::overrideCursor()->shape(), Qt::WaitCursor);
    platform::setMousePointer(&window, 0);
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
    platform::setMousePointer(&window, 0);
}

TEST(forms, makes_the_letters_of_buttons_narrower_where_a_caption_does_not_fit) {
    QWidget window;
    QPushButton first("&OK", &window);
    QPushButton second("&Save all of the Changes", &window);
    platform::setLayoutFont(&window);
    EXPECT_EQ(QFontInfo(window.font()).pixelSize(), 11);
    const int text = second.fontMetrics().size(Qt::TextShowMnemonic, second.text()).width();
    first.resize(81, 25);
    second.resize(text + 40, 25);
    platform::fitCaptions(&window);
    EXPECT_EQ(second.font(), window.font());
    second.resize(text, 25);
    platform::fitCaptions(&window);
    EXPECT_LT(second.font().stretch(), 100);
    EXPECT_EQ(first.font(), second.font());
    EXPECT_LT(second.fontMetrics().size(Qt::TextShowMnemonic, second.text()).width(), text);
}

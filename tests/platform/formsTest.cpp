#include "platform/forms.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QMessageBox>
#include <QMouseEvent>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QWindow>

#include <gtest/gtest.h>

namespace {

// A window whose button counts its clicks and its paints.
class Window : public QWidget {
  public:
    Window() {
        button.setGeometry(10, 10, 100, 30);
        connect(&button, &QPushButton::clicked, this, [this] { ++clicks; });
        resize(200, 100);
        show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(this));
        QTest::qWait(50);
    }

    // Puts a click into the queue of the window, where the window system puts it.
    void clickFromOutside() {
        const QPointF at = button.geometry().center();
        for (const QEvent::Type type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease})
            QCoreApplication::postEvent(
                windowHandle(),
                new QMouseEvent(type, at, mapToGlobal(at), Qt::LeftButton,
                                type == QEvent::MouseButtonPress ? Qt::LeftButton : Qt::NoButton,
                                Qt::NoModifier));
    }

    QPushButton button{"&Go", this};
    int clicks = 0;
    int paints = 0;

  protected:
    void paintEvent(QPaintEvent *) override { ++paints; }
};

// Answers the message box that is on screen once it is there.
void pressInBox(Qt::Key key, QMessageBox::Icon &icon, QString &text, int &buttons) {
    QTimer::singleShot(50, [&, key] {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        ASSERT_NE(box, nullptr);
        icon = box->icon();
        text = box->textFormat() == Qt::PlainText ? box->text() : QStringLiteral("not as it is");
        buttons = static_cast<int>(box->buttons().size());
        QTest::keyClick(box, key);
    });
}

} // namespace

TEST(forms, throws_away_input_but_paints_and_keeps_timers_running) {
    Window window;
    window.clickFromOutside();
    QCoreApplication::processEvents();
    ASSERT_EQ(window.clicks, 1) << "the click arrives where nobody throws it away";

    int ticks = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] { ++ticks; });
    timer.start(1);
    const int before = window.paints;
    QElapsedTimer time;
    for (time.start(); time.elapsed() < 300;) {
        window.clickFromOutside();
        window.update();
        platform::repaintPending();
    }
    platform::discardInput();
    QCoreApplication::processEvents();
    EXPECT_EQ(window.clicks, 1);
    EXPECT_GE(ticks, 4);
    EXPECT_GE(window.paints - before, 4);
    EXPECT_LE(window.paints - before, 300 / 25 + 3) << "painting takes time from the work";
    window.clickFromOutside();
    QCoreApplication::processEvents();
    EXPECT_EQ(window.clicks, 2);
}

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

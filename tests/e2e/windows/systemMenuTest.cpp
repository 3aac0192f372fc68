#include "config/frmSettings.h"
#include "tests/support/settings.h"

#include <QTest>

#include <gtest/gtest.h>

#include <windows.h>

namespace {

// What a window on a real screen has in its system menu: a command or 0 for a line, in order.
std::vector<UINT> systemMenu(const QWidget &window) {
    const HMENU menu = GetSystemMenu(reinterpret_cast<HWND>(window.winId()), FALSE);
    std::vector<UINT> entries;
    for (int at = 0; at < GetMenuItemCount(menu); ++at)
        entries.push_back(GetMenuItemID(menu, at));
    return entries;
}

TEST(SystemMenu, OfTheSettingsLosesItsLastTwoEntriesAndTheOthersKeepTheirs) {
    const OwnSettings settings({});
    QDialog plain;
    QWidget main;
    auto *window = new frmSettings(&main);
    for (QWidget *shown : std::initializer_list<QWidget *>{&plain, &main, window}) {
        shown->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(shown));
    }
    std::vector<UINT> left = systemMenu(plain);
    ASSERT_GT(left.size(), 2U);
    left.resize(left.size() - 2); // a line and Close; Wine has a line and one more behind them
    EXPECT_EQ(systemMenu(*window), left);
    EXPECT_EQ(systemMenu(main), systemMenu(plain));

    // What asks for it all the same, as Alt+F4 does, is refused.
    SendMessageA(reinterpret_cast<HWND>(window->winId()), WM_SYSCOMMAND, SC_CLOSE, 0);
    EXPECT_TRUE(window->isVisible());
    window->reject();
    EXPECT_FALSE(window->isVisible());
}

} // namespace

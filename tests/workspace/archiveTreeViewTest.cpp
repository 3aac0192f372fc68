#include "workspace/archiveTreeView.h"

#include "workspace/archiveTree.h"

#include <QApplication>
#include <QTest>

#include <gtest/gtest.h>

namespace {

struct Fixture {
    ArchiveTree tree{nullptr, [](int) { return QIcon(); }, [](int) { return QString(); }};
    ArchiveTreeView view{nullptr};
    int opened = 0;

    Fixture() {
        ArchiveNodes nodes;
        nodes.AddFile("skins", "base.png", 4, 1);
        nodes.AddFile("skins", "blood.png", 4, 2);
        nodes.AddFile("vehicles", "bomber.cs", 8, 3);
        tree.Fill(
            std::move(nodes), +[] {});
        view.ShowTree(&tree);
        view.resize(200, 200);
        view.show();
        QObject::connect(&view, &QTreeView::doubleClicked, &view, [this] { ++opened; });
    }

    std::string current() const { return view.currentIndex().data().toString().toStdString(); }
    static void pause() { QTest::qWait(QApplication::keyboardInputInterval() + 50); }
};

} // namespace

TEST(ArchiveTreeView, goes_to_the_name_that_is_typed_and_opens_its_folder) {
    Fixture fixture;
    std::vector<std::string> seen;
    for (int press = 0; press < 4; ++press) {
        QTest::keyClicks(&fixture.view, "b");
        seen.push_back(fixture.current());
    }
    EXPECT_EQ(seen, (std::vector<std::string>{"base.png", "blood.png", "bomber.cs", "base.png"}));
    Fixture::pause();
    QTest::keyClicks(&fixture.view, "bom");
    EXPECT_EQ(fixture.current(), "bomber.cs");
    EXPECT_TRUE(fixture.view.isExpanded(fixture.view.currentIndex().parent()));
    Fixture::pause();
    QTest::keyClicks(&fixture.view, "vx");
    EXPECT_EQ(fixture.current(), "vehicles") << "no name begins with vx";
}

TEST(ArchiveTreeView, takes_Enter_for_a_double_click_on_the_selected_node) {
    Fixture fixture;
    const QModelIndex folder = fixture.tree.index(0, 0);
    QTest::keyClick(&fixture.view, Qt::Key_Return);
    EXPECT_EQ(fixture.opened, 0) << "nothing is selected";
    fixture.view.setCurrentIndex(folder);
    QTest::keyClick(&fixture.view, Qt::Key_Return);
    EXPECT_TRUE(fixture.view.isExpanded(folder));
    QTest::keyClick(&fixture.view, Qt::Key_Enter);
    EXPECT_FALSE(fixture.view.isExpanded(folder));
    EXPECT_EQ(fixture.opened, 2);
}

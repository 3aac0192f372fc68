#include "tests/workspace/window.h"
#include "workspace/archiveTreeView.h"

#include <QAbstractItemModelTester>
#include <QApplication>

TEST(ArchiveTree, numbers_nodes_as_they_were_added_and_shows_them_sorted_without_regard_to_case) {
    ArchiveTree tree(
        nullptr, [](int) { return QIcon(); }, [](int entry) { return QString::number(entry); });
    QAbstractItemModelTester tester(&tree, QAbstractItemModelTester::FailureReportingMode::Fatal);
    ArchiveNodes added;
    added.AddFile("textures", "b.png", 4, 1);
    added.AddFile("scripts", "Zeta.cs", 8, 2);
    added.AddFile("", "readme.txt", 8, 3);
    added.AddFile("scripts", "alpha.cs", 8, 4);
    added.AddFile("Scripts", "other.cs", 8, 5);
    added.AddFile("textures", "A.png", 4, 6);
    tree.Fill(
        std::move(added), +[] {});
    const ArchiveNodes &nodes = tree.Nodes();

    EXPECT_EQ(joined(shownTree(tree)), "|  readme.txt#8|scripts|  alpha.cs#8|  Zeta.cs#8|Scripts|"
                                       "  other.cs#8|textures|  A.png#4|  b.png#4");
    EXPECT_EQ(nodes.Text(1), "textures");
    EXPECT_EQ(nodes.FirstChild(1), 2);
    EXPECT_EQ(nodes.Count(), 10);
    for (int node = 1; node <= nodes.Count(); ++node) {
        const QModelIndex index = tree.IndexOf(node);
        EXPECT_EQ(tree.NodeOf(index), node);
        EXPECT_EQ(tree.NodeOf(index.parent()), nodes.Parent(node));
        EXPECT_EQ(index.data().toString(), nodes.Text(node));
    }
    // The tip is that of the entry that a file stands for.
    EXPECT_EQ(tree.IndexOf(2).data(Qt::ToolTipRole).toString(), "1");
    EXPECT_EQ(tree.IndexOf(10).data(Qt::ToolTipRole).toString(), "6");
    EXPECT_FALSE(tree.IndexOf(1).data(Qt::ToolTipRole).isValid());
}

TEST(ArchiveTreeView, goes_to_the_name_that_is_typed_and_opens_its_folder) {
    ArchiveTree tree(
        nullptr, [](int) { return QIcon(); }, [](int) { return QString(); });
    ArchiveNodes nodes;
    nodes.AddFile("skins", "base.png", 4, 1);
    nodes.AddFile("skins", "blood.png", 4, 2);
    nodes.AddFile("vehicles", "bomber.cs", 8, 3);
    tree.Fill(
        std::move(nodes), +[] {});
    ArchiveTreeView view(nullptr);
    view.ShowTree(&tree);
    QApplication::setKeyboardInputInterval(30); // milliseconds until a typed name is over
    view.show();
    for (const char *name : {"base.png", "blood.png", "bomber.cs", "base.png"}) {
        QTest::keyClick(&view, Qt::Key_B);
        EXPECT_EQ(view.currentIndex().data(), name);
    }
    QTest::qWait(50);
    QTest::keyClicks(&view, "bom");
    EXPECT_EQ(view.currentIndex().data(), "bomber.cs");
    EXPECT_TRUE(view.isExpanded(view.currentIndex().parent()));
    QTest::qWait(50);
    QTest::keyClicks(&view, "vx");
    EXPECT_EQ(view.currentIndex().data(), "vehicles") << "no name begins with vx";
}

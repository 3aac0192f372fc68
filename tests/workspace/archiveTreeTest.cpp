#include "workspace/archiveTree.h"
#include "workspace/archiveTreeView.h"

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QTest>

#include <gtest/gtest.h>

namespace {

class Tree : public ArchiveTree {
  public:
    Tree()
        : ArchiveTree(
              nullptr, [](int) { return QIcon(); },
              [](int entry) { return QString::number(entry); }) {}

    std::vector<std::string> shown() const {
        std::vector<std::string> texts;
        for (int row = 0; row < rowCount(); ++row) {
            const QModelIndex folder = index(row, 0);
            texts.push_back(folder.data().toString().toStdString());
            for (int child = 0; child < rowCount(folder); ++child)
                texts.push_back("  " + index(child, 0, folder).data().toString().toStdString());
        }
        return texts;
    }
};

ArchiveNodes mixedNodes() {
    ArchiveNodes nodes;
    nodes.AddFile("textures", "b.png", 4, 1);
    nodes.AddFile("scripts", "Zeta.cs", 8, 2);
    nodes.AddFile("", "readme.txt", 8, 3);
    nodes.AddFile("scripts", "alpha.cs", 8, 4);
    nodes.AddFile("Scripts", "other.cs", 8, 5);
    nodes.AddFile("textures", "A.png", 4, 6);
    return nodes;
}

} // namespace

TEST(ArchiveTree, numbers_nodes_as_they_were_added_and_shows_them_sorted_without_regard_to_case) {
    Tree tree;
    QAbstractItemModelTester tester(&tree, QAbstractItemModelTester::FailureReportingMode::Fatal);
    tree.Fill(
        mixedNodes(), +[] {});
    const ArchiveNodes &nodes = tree.Nodes();

    EXPECT_EQ(tree.shown(), (std::vector<std::string>{"", "  readme.txt", "scripts", "  alpha.cs",
                                                      "  Zeta.cs", "Scripts", "  other.cs",
                                                      "textures", "  A.png", "  b.png"}));
    EXPECT_EQ(nodes.Text(1), "textures");
    EXPECT_EQ(nodes.Text(nodes.FirstChild(1)), "b.png");
    EXPECT_EQ(nodes.Count(), 10);
    EXPECT_TRUE(nodes.HasChildren(1));
    EXPECT_FALSE(nodes.HasChildren(2));
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

namespace {

struct TreeWindow {
    ArchiveTree tree{nullptr, [](int) { return QIcon(); }, [](int) { return QString(); }};
    ArchiveTreeView view{nullptr};

    TreeWindow() {
        ArchiveNodes nodes;
        nodes.AddFile("skins", "base.png", 4, 1);
        nodes.AddFile("skins", "blood.png", 4, 2);
        nodes.AddFile("vehicles", "bomber.cs", 8, 3);
        tree.Fill(
            std::move(nodes), +[] {});
        view.ShowTree(&tree);
        QApplication::setKeyboardInputInterval(30); // milliseconds until a typed name is over
        view.resize(200, 200);
        view.show();
    }

    std::string current() const { return view.currentIndex().data().toString().toStdString(); }
};

} // namespace

TEST(ArchiveTreeView, goes_to_the_name_that_is_typed_and_opens_its_folder) {
    TreeWindow window;
    std::vector<std::string> seen;
    for (int press = 0; press < 4; ++press) {
        QTest::keyClick(&window.view, Qt::Key_B);
        seen.push_back(window.current());
    }
    EXPECT_EQ(seen, (std::vector<std::string>{"base.png", "blood.png", "bomber.cs", "base.png"}));
    QTest::qWait(50);
    QTest::keyClicks(&window.view, "bom");
    EXPECT_EQ(window.current(), "bomber.cs");
    EXPECT_TRUE(window.view.isExpanded(window.view.currentIndex().parent()));
    QTest::qWait(50);
    QTest::keyClicks(&window.view, "vx");
    EXPECT_EQ(window.current(), "vehicles") << "no name begins with vx";
}

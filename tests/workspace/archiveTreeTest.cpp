#include "workspace/archiveTree.h"

#include <QAbstractItemModelTester>

#include <gtest/gtest.h>

namespace {

int idleCalls = 0;
void countIdle() {
    ++idleCalls;
}

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
    tree.Fill(mixedNodes(), &countIdle);
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

TEST(ArchiveTree, finds_names_downwards_and_round_again_in_closed_folders_too) {
    Tree tree;
    tree.Fill(mixedNodes(), &countIdle);
    const auto found = [&](const char *prefix, const char *start) {
        int from = 0;
        for (int node = 1; node <= tree.Nodes().Count(); ++node)
            if (tree.Nodes().Text(node) == start)
                from = node;
        const int node = tree.Find(prefix, from);
        return node == 0 ? std::string("none") : tree.Nodes().Text(node).toStdString();
    };
    EXPECT_EQ(found("zet", "textures"), "Zeta.cs");
    EXPECT_EQ(found("a", "readme.txt"), "alpha.cs");
    EXPECT_EQ(found("a", "Zeta.cs"), "A.png");
    EXPECT_EQ(found("scripts", "Zeta.cs"), "Scripts");
    EXPECT_EQ(found("nothing", "scripts"), "none");
    tree.Clear();
    EXPECT_EQ(tree.Find("a", 0), 0);
}

TEST(ArchiveTree, takes_a_large_archive_and_lets_the_windows_paint_meanwhile) {
    ArchiveNodes nodes;
    for (int entry = 1; entry <= 100000; ++entry)
        nodes.AddFile("folder" + QString::number(entry % 50000), QString::number(entry), 2, entry);
    Tree tree;
    idleCalls = 0;
    tree.Fill(std::move(nodes), &countIdle);
    EXPECT_EQ(tree.rowCount(), 50000);
    EXPECT_GT(idleCalls, 30);
    EXPECT_EQ(tree.index(0, 0).data().toString(), "folder0");
    EXPECT_EQ(tree.rowCount(tree.index(0, 0)), 2);
}

#include "tests/workspace/window.h"
#include "workspace/archiveTreeView.h"

#include <QAbstractItemModelTester>
#include <QApplication>

#include <memory>
#include <utility>
#include <vector>

namespace {

// The nodes of files, given by folder and name.
ArchiveNodes nodesOf(const std::vector<std::pair<QString, QString>> &files) {
    auto entries = std::make_shared<EntryList>();
    for (const auto &[folder, name] : files)
        entries->add({name, folder, 0, 0, {}, {}, 0, false, true});
    ArchiveNodes nodes(entries);
    for (int entry = 1; entry <= entries->count(); ++entry)
        nodes.AddFile(entry, ImageOfFile(files[static_cast<std::size_t>(entry) - 1].second));
    return nodes;
}

} // namespace

TEST(ArchiveTree, numbers_nodes_as_they_were_added_and_shows_them_sorted_without_regard_to_case) {
    ArchiveTree tree(
        nullptr, [](int) { return QIcon(); }, [](int entry) { return QString::number(entry); });
    QAbstractItemModelTester tester(&tree, QAbstractItemModelTester::FailureReportingMode::Fatal);
    tree.Fill(
        nodesOf({{"textures", "b.png"},
                 {"scripts", "Zeta.cs"},
                 {"", "readme.txt"},
                 {"scripts", "alpha.cs"},
                 {"Scripts", "other.cs"},
                 {"textures", "A.png"}}),
        +[] {});
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
    tree.Fill(
        nodesOf({{"skins", "base.png"}, {"skins", "blood.png"}, {"vehicles", "bomber.cs"}}),
        +[] {});
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

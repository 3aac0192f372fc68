#pragma once

#include <QAbstractItemModel>
#include <QHash>
#include <QIcon>
#include <QString>

#include <array>
#include <cstdint>
#include <functional>
#include <vector>

// The nodes of the archive tree: folders and the files under them. Nodes are numbered from 1 in
// the order in which they were added; folders are told apart by their exact text.
class ArchiveNodes {
  public:
    // Adds a file under the folder of that text, making the folder node where there is none.
    // `entry` is the entry's number in the archive, `image` its icon.
    void AddFile(const QString &folder, const QString &name, int image, int entry);

    int Count() const { return static_cast<int>(m_nodes.size()); }
    const QString &Text(int node) const { return at(node).text; }
    int Image(int node) const { return at(node).image; }
    // The folder node that holds a file; 0 for a folder.
    int Parent(int node) const { return at(node).parent; }
    bool HasChildren(int node) const { return at(node).parent == 0; }
    // The file that was added to the folder first.
    int FirstChild(int folder) const { return at(folder).number; }
    // The archive entry that a file node stands for.
    int Entry(int file) const { return at(file).number; }

  private:
    friend class ArchiveTree;

    struct Node {
        QString text;
        std::int32_t parent = 0; // 0 for a folder
        std::int32_t number = 0; // a folder's first child, a file's entry
        std::int32_t row = 0;    // its place among its siblings as shown
        std::int32_t image = 0;
    };
    const Node &at(int node) const { return m_nodes[static_cast<std::size_t>(node) - 1]; }
    int add(const QString &text, int parent, int image, int number);

    std::vector<Node> m_nodes;
    QHash<QString, int> m_folders;
    int m_lastFolder = 0;
};

// Shows the nodes sorted, folders by their text and files by their name without regard to case,
// while they keep their numbers. Half a million nodes are filled in at once: nothing is made for a
// node that is not looked at.
class ArchiveTree : public QAbstractItemModel {
  public:
    static constexpr int kImages = 8;

    // `image` gives the icon of an image number, `tip` the tool tip of an archive entry.
    ArchiveTree(QObject *parent, std::function<QIcon(int image)> image,
                std::function<QString(int entry)> tip);

    void Clear();
    // Takes the nodes. `idle` is called every few thousand steps.
    void Fill(ArchiveNodes nodes, void (*idle)());

    const ArchiveNodes &Nodes() const { return m_nodes; }
    // The node of an index, 0 for none, and the other way round.
    int NodeOf(const QModelIndex &index) const;
    QModelIndex IndexOf(int node) const;
    // The first node at or after `start` whose text begins with `prefix` without regard to case, as
    // shown from top to bottom and round again; 0 where there is none.
    int Find(const QString &prefix, int start) const;
    // The node shown below a node, files of closed folders included; the first after the last.
    int NodeAfter(int node) const;

    QModelIndex index(int row, int column, const QModelIndex &parent = {}) const override;
    QModelIndex parent(const QModelIndex &index) const override;
    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    bool hasChildren(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    // What a screen reader calls the one column; no header is shown.
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

  private:
    void Arrange(void (*idle)());

    ArchiveNodes m_nodes;
    std::vector<std::int32_t> m_folders;               // folder nodes as shown
    std::vector<std::vector<std::int32_t>> m_children; // by the folder's place as shown
    std::function<QIcon(int)> m_image;
    std::function<QString(int)> m_tip;
};

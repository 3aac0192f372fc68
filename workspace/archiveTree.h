#pragma once

#include "archive/entryList.h"
#include "workspace/fileTypes.h"

#include <QAbstractItemModel>
#include <QHash>
#include <QIcon>
#include <QSet>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

// The nodes of the archive tree: folders and the files in them. Nodes are numbered from 1 in the
// order of adding. Folders are distinguished by their exact text.
class ArchiveNodes {
  public:
    ArchiveNodes() = default;
    // Of files that are entries of a list, which keeps their names.
    explicit ArchiveNodes(std::shared_ptr<const EntryList> entries)
        : m_entries(std::move(entries)) {}

    // Adds a file to the folder node of its folder and creates that if it does not exist. `entry`
    // is the entry's number in the list, from 1, `image` its icon number.
    void AddFile(int entry, int image);

    int Count() const { return static_cast<int>(m_nodes.size()); }
    // The folder's path, or the file's name.
    QString Text(int node) const;
    int Image(int node) const { return static_cast<int>(at(node).image); }
    // The folder node that contains a file; 0 for a folder.
    int Parent(int node) const { return HasChildren(node) ? 0 : at(node).parent; }
    bool HasChildren(int node) const { return at(node).image == FolderImage; }
    // The file that was added to the folder first.
    int FirstChild(int folder) const { return at(folder).number; }
    // The archive entry that a file node stands for.
    int Entry(int file) const { return at(file).number; }

  private:
    friend class ArchiveTree;

    struct Node {
        std::int32_t parent;     // a file's folder, a folder's number in m_folderTexts
        std::int32_t number;     // a folder's first child, a file's entry
        std::uint32_t image : 4; // FolderImage marks a folder
        std::uint32_t row : 28;  // its position among its siblings in display order
    };
    static constexpr std::uint32_t kImageBits = 0xF;
    static constexpr std::uint32_t kRowBits = 0xFFF'FFFF;
    const Node &at(int node) const { return m_nodes[static_cast<std::size_t>(node) - 1]; }
    std::size_t rowOf(int node) const { return at(node).row; }
    void setRow(int node, std::size_t row) {
        m_nodes[static_cast<std::size_t>(node) - 1].row =
            static_cast<std::uint32_t>(row) & kRowBits;
    }

    std::shared_ptr<const EntryList> m_entries;
    std::vector<Node> m_nodes;
    QStringList m_folderTexts;
    QHash<QString, int> m_folders;
    int m_lastFolder = 0;
};

// A model that shows the nodes sorted, folders by their text and files by their name without regard
// to case. Nodes keep their numbers. Filling in half a million nodes is fast, because no object is
// created for a node until a view requests its data.
class ArchiveTree : public QAbstractItemModel {
  public:
    // `image` returns the icon of an image number, `tip` the tool tip of an archive entry.
    ArchiveTree(QObject *parent, std::function<QIcon(int image)> image,
                std::function<QString(int entry)> tip);

    void Clear();
    // Replaces the nodes. Calls `idle` every few thousand steps.
    void Fill(ArchiveNodes nodes, void (*idle)());

    // The changed files by "folder\name", their folders, and a list of the new files of each
    // folder. Their nodes and folders are drawn in bold. Replaces the former ones, as do Fill and
    // Clear.
    struct Changes {
        QSet<QString> changed;
        QSet<QString> folders;
        QHash<QString, QString> added;
    };
    void SetChanges(Changes changes);

    const ArchiveNodes &Nodes() const { return m_nodes; }
    // The node of an index, 0 for none, and the reverse.
    int NodeOf(const QModelIndex &index) const;
    QModelIndex IndexOf(int node) const;
    // The first node at or after `start`, in display order and wrapping at the end, whose text
    // begins with `prefix` without regard to case; 0 if there is none.
    int Find(const QString &prefix, int start) const;
    // The next node in display order, including files of collapsed folders; the last node is
    // followed by the first.
    int NodeAfter(int node) const;

    QModelIndex index(int row, int column, const QModelIndex &parent = {}) const override;
    QModelIndex parent(const QModelIndex &index) const override;
    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    bool hasChildren(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    // The name of the single column for screen readers; no header is shown.
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

  private:
    void Arrange(void (*idle)());
    // What is to be said about a node: "" for most.
    QString ChangeText(int node) const;

    ArchiveNodes m_nodes;
    std::vector<std::int32_t> m_folders;               // folder nodes in display order
    std::vector<std::vector<std::int32_t>> m_children; // by the row of the folder
    Changes m_changes;
    std::function<QIcon(int)> m_image;
    std::function<QString(int)> m_tip;
};

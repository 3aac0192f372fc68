#include "workspace/archiveTree.h"

#include <QFont>

#include <algorithm>
#include <utility>

namespace {

// A node and its sort key.
struct Key {
    QString folded;
    std::int32_t node;
};

// Sorts by folded text, then by number, which is the order of adding.
void sortKeys(std::vector<Key> &keys, void (*idle)()) {
    unsigned compared = 0;
    std::sort(keys.begin(), keys.end(), [&](const Key &left, const Key &right) {
        if ((++compared & 0xFFFU) == 0)
            idle();
        const int order = left.folded.compare(right.folded);
        return order != 0 ? order < 0 : left.node < right.node;
    });
}

} // namespace

void ArchiveNodes::AddFile(int entry, int image) {
    const QString folder = m_entries->folder(entry - 1);
    // The files of a folder are usually listed together, so the last folder is checked first.
    if (m_lastFolder == 0 || Text(m_lastFolder) != folder) {
        int &known = m_folders[folder];
        if (known == 0) {
            m_nodes.push_back(
                {static_cast<std::int32_t>(m_folderTexts.size()), Count() + 2, FolderImage, 0});
            m_folderTexts.append(folder);
            known = Count();
        }
        m_lastFolder = known;
    }
    m_nodes.push_back({m_lastFolder, entry, static_cast<std::uint32_t>(image) & kImageBits, 0});
}

QString ArchiveNodes::Text(int node) const {
    const Node &wanted = at(node);
    return HasChildren(node) ? m_folderTexts.at(wanted.parent) : m_entries->name(wanted.number - 1);
}

ArchiveTree::ArchiveTree(QObject *parent, std::function<QIcon(int)> image,
                         std::function<QString(int)> tip)
    : QAbstractItemModel(parent), m_image(std::move(image)), m_tip(std::move(tip)) {}

void ArchiveTree::Clear() {
    beginResetModel();
    m_nodes = {};
    m_folders.clear();
    m_children.clear();
    m_changes = {};
    endResetModel();
}

void ArchiveTree::Fill(ArchiveNodes nodes, void (*idle)()) {
    // The views paint during the sort and use the old nodes until it is complete.
    ArchiveTree arranged(nullptr, {}, {});
    arranged.m_nodes = std::move(nodes);
    arranged.Arrange(idle);
    beginResetModel();
    m_nodes = std::move(arranged.m_nodes);
    m_folders = std::move(arranged.m_folders);
    m_children = std::move(arranged.m_children);
    m_changes = {};
    endResetModel();
}

void ArchiveTree::Arrange(void (*idle)()) {
    std::vector<Key> folders;
    for (int node = 1; node <= m_nodes.Count(); ++node)
        if (m_nodes.Parent(node) == 0)
            folders.push_back({m_nodes.Text(node).toCaseFolded(), node});
    sortKeys(folders, idle);
    m_folders.reserve(folders.size());
    m_children.resize(folders.size());
    for (const Key &folder : folders) {
        m_nodes.setRow(folder.node, m_folders.size());
        m_folders.push_back(folder.node);
    }
    for (int node = 1; node <= m_nodes.Count(); ++node) {
        const int parent = m_nodes.Parent(node);
        if (parent != 0)
            m_children[m_nodes.rowOf(parent)].push_back(node);
        if ((node & 0xFFF) == 0)
            idle();
    }
    std::vector<Key> keys; // of one folder, since they need more memory than its nodes
    for (std::vector<std::int32_t> &children : m_children) {
        keys.clear();
        for (const std::int32_t node : children)
            keys.push_back({m_nodes.Text(node).toCaseFolded(), node});
        sortKeys(keys, idle);
        children.shrink_to_fit();
        for (std::size_t row = 0; row < keys.size(); ++row) {
            children[row] = keys[row].node;
            m_nodes.setRow(keys[row].node, row);
        }
        idle();
    }
}

// The internal id of an index is the node number of its parent, 0 at the top level.
int ArchiveTree::NodeOf(const QModelIndex &index) const {
    if (!index.isValid())
        return 0;
    const auto row = static_cast<std::size_t>(index.row());
    const auto parent = static_cast<int>(index.internalId());
    if (parent == 0)
        return m_folders[row];
    return m_children[m_nodes.rowOf(parent)][row];
}

QModelIndex ArchiveTree::IndexOf(int node) const {
    if (node < 1 || node > m_nodes.Count())
        return {};
    return createIndex(static_cast<int>(m_nodes.rowOf(node)), 0,
                       static_cast<quintptr>(m_nodes.Parent(node)));
}

QModelIndex ArchiveTree::index(int row, int column, const QModelIndex &parent) const {
    if (row < 0 || column != 0 || row >= rowCount(parent))
        return {};
    return createIndex(row, 0, static_cast<quintptr>(NodeOf(parent)));
}

QModelIndex ArchiveTree::parent(const QModelIndex &index) const {
    return index.isValid() ? IndexOf(static_cast<int>(index.internalId())) : QModelIndex();
}

int ArchiveTree::rowCount(const QModelIndex &parent) const {
    if (!parent.isValid())
        return static_cast<int>(m_folders.size());
    if (parent.internalId() != 0)
        return 0;
    return static_cast<int>(m_children[static_cast<std::size_t>(parent.row())].size());
}

int ArchiveTree::columnCount(const QModelIndex &) const {
    return 1;
}

bool ArchiveTree::hasChildren(const QModelIndex &parent) const {
    return rowCount(parent) > 0;
}

QVariant ArchiveTree::data(const QModelIndex &index, int role) const {
    const int node = NodeOf(index);
    if (node == 0)
        return {};
    const bool folder = m_nodes.HasChildren(node);
    const QString text = m_nodes.Text(node);
    switch (role) {
    case Qt::DisplayRole:
        return text;
    case Qt::DecorationRole:
        return m_image(m_nodes.Image(node));
    case Qt::ToolTipRole: {
        const QString tip = folder ? QString() : m_tip(m_nodes.Entry(node));
        const QString change = ChangeText(node);
        const QString both = tip.isEmpty() || change.isEmpty() ? tip + change : tip + '\n' + change;
        return both.isEmpty() ? QVariant() : both;
    }
    case Qt::AccessibleDescriptionRole: {
        const QString change = ChangeText(node);
        return change.isEmpty() ? QVariant() : change;
    }
    case Qt::FontRole: {
        if (ChangeText(node).isEmpty())
            return {};
        QFont font;
        font.setBold(true);
        return font;
    }
    case Qt::AccessibleTextRole:
        return folder && text.isEmpty() ? QStringLiteral("(top level)") : text;
    default:
        return {};
    }
}

QVariant ArchiveTree::headerData(int section, Qt::Orientation orientation, int role) const {
    const bool named = role == Qt::DisplayRole && orientation == Qt::Horizontal && section == 0;
    return named ? QVariant(QStringLiteral("Name")) : QVariant();
}

void ArchiveTree::SetChanges(Changes changes) {
    const QSet<QString> affected = changes.folders + m_changes.folders;
    m_changes = std::move(changes);
    if (m_folders.empty())
        return;
    const QList<int> roles{Qt::FontRole, Qt::ToolTipRole, Qt::AccessibleDescriptionRole};
    for (std::size_t row = 0; row < m_folders.size(); ++row) {
        const QModelIndex folder = IndexOf(m_folders[row]);
        if (affected.contains(m_nodes.Text(m_folders[row])) && !m_children[row].empty())
            Q_EMIT dataChanged(index(0, 0, folder),
                               index(static_cast<int>(m_children[row].size()) - 1, 0, folder),
                               roles);
    }
    Q_EMIT dataChanged(index(0, 0), index(static_cast<int>(m_folders.size()) - 1, 0), roles);
}

QString ArchiveTree::ChangeText(int node) const {
    if (m_changes.changed.isEmpty() && m_changes.added.isEmpty())
        return {};
    const QString text = m_nodes.Text(node);
    if (!m_nodes.HasChildren(node)) {
        const bool changed =
            m_changes.changed.contains(m_nodes.Text(m_nodes.Parent(node)) + '\\' + text);
        return changed ? QStringLiteral("changed since extraction") : QString();
    }
    QStringList lines;
    if (m_changes.folders.contains(text))
        lines.append(QStringLiteral("holds files that were changed since extraction"));
    const QString added = m_changes.added.value(text);
    if (!added.isEmpty())
        lines.append("New files: " + added);
    return lines.join('\n');
}

int ArchiveTree::NodeAfter(int node) const {
    const int folder = m_nodes.HasChildren(node) ? node : m_nodes.Parent(node);
    const std::size_t row = m_nodes.rowOf(folder);
    const std::size_t child = folder == node ? 0 : m_nodes.rowOf(node) + 1;
    if (child < m_children[row].size())
        return m_children[row][child];
    return m_folders[(row + 1) % m_folders.size()];
}

int ArchiveTree::Find(const QString &prefix, int start) const {
    if (m_nodes.Count() == 0)
        return 0;
    int node = start == 0 ? m_folders.front() : start;
    for (int seen = 0; seen < m_nodes.Count(); ++seen, node = NodeAfter(node))
        if (m_nodes.Text(node).startsWith(prefix, Qt::CaseInsensitive))
            return node;
    return 0;
}

#pragma once

#include <QByteArray>
#include <QString>
#include <QStringView>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// A list of texts in one piece of memory, in UTF-8: a QString for each of half a million names
// would need many times the memory of the names.
class PackedTexts {
  public:
    void add(QStringView text) {
        const QByteArray bytes = text.toUtf8();
        m_text.append(bytes.constData(), static_cast<std::size_t>(bytes.size()));
        m_ends.push_back(static_cast<std::uint32_t>(m_text.size()));
    }
    std::size_t size() const { return m_ends.size(); }
    QString at(std::size_t index) const {
        const std::string_view text = utf8(index);
        return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
    }
    // Valid until the next add().
    std::string_view utf8(std::size_t index) const {
        const std::size_t start = index == 0 ? 0 : m_ends[index - 1];
        return std::string_view(m_text).substr(start, m_ends.at(index) - start);
    }

  private:
    std::string m_text;
    std::vector<std::uint32_t> m_ends; // of each text
};

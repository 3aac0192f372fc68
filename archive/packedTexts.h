#pragma once

#include <QString>
#include <QStringView>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// A list of texts in one piece of memory: a QString for each of half a million names would need
// several times the memory of the names.
class PackedTexts {
  public:
    void add(QStringView text) {
        m_text.append(text.utf16(), static_cast<std::size_t>(text.size()));
        m_ends.push_back(static_cast<std::uint32_t>(m_text.size()));
    }
    std::size_t size() const { return m_ends.size(); }
    QString at(std::size_t index) const { return view(index).toString(); }
    // Valid until the next add().
    QStringView view(std::size_t index) const {
        const std::size_t start = index == 0 ? 0 : m_ends[index - 1];
        return {m_text.data() + start, static_cast<qsizetype>(m_ends.at(index) - start)};
    }

  private:
    std::u16string m_text;
    std::vector<std::uint32_t> m_ends; // of each text
};

#include "ziplib/vl2zip/select/entryPaths.h"

#include <functional>

namespace ziplib {

namespace {

constexpr unsigned kHashBits = 32;

std::uint32_t hashOf(std::string_view path) {
    return static_cast<std::uint32_t>(std::hash<std::string_view>()(path));
}

} // namespace

// The slot of this path, or the free one for it.
std::size_t EntryPaths::slotOf(std::string_view path, std::uint32_t hash) const {
    const Directory::Entries entries = m_directory.entries();
    auto slot = static_cast<std::size_t>((std::uint64_t{hash} * m_slots.size()) >> kHashBits);
    while (
        m_slots[slot].number != 0 &&
        (m_slots[slot].hash != hash || m_directory.path(entries[m_slots[slot].number - 1]) != path))
        slot = slot + 1 == m_slots.size() ? 0 : slot + 1;
    return slot;
}

void EntryPaths::fill() {
    const Directory::Entries entries = m_directory.entries();
    m_count = 0;
    m_slots.assign(entries.size() + entries.size() / 2 + 1, {});
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const std::string path = m_directory.path(entries[i]);
        const std::uint32_t hash = hashOf(path);
        Slot &slot = m_slots[slotOf(path, hash)];
        m_count += slot.number == 0 ? 1 : 0;
        slot = {hash, static_cast<std::uint32_t>(i + 1)};
    }
}

std::uint32_t EntryPaths::find(std::string_view path) const {
    if (empty())
        return kNoEntry;
    const std::uint32_t number = m_slots[slotOf(path, hashOf(path))].number;
    return number == 0 ? kNoEntry : number - 1;
}

void EntryPaths::each(
    const std::function<void(std::string_view path, std::uint32_t entry)> &take) const {
    for (const auto &slot : m_slots)
        if (slot.number != 0)
            take(m_directory.path(m_directory.entries()[slot.number - 1]), slot.number - 1);
}

} // namespace ziplib

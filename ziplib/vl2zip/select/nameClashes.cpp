#include "ziplib/vl2zip/select/nameClashes.h"

#include "storage/utf8.h"

namespace ziplib {

void NameClashes::add(std::string_view path) {
    std::string folded = platform::foldCase(path);
    // The folders above a known one are known.
    for (std::size_t at = folded.rfind('/'); at != std::string::npos && at > 0;
         at = folded.rfind('/', at - 1))
        if (!m_folders.emplace(folded.substr(0, at), path).second)
            break;
    m_names.emplace(std::move(folded), path);
}

std::string NameClashes::find(std::string_view path) const {
    const std::string folded = platform::foldCase(path);
    if (const auto found = m_names.find(folded); found != m_names.end())
        return found->second;
    if (const auto found = m_folders.find(folded); found != m_folders.end())
        return found->second;
    for (std::size_t at = folded.find('/'); at != std::string::npos; at = folded.find('/', at + 1))
        if (const auto found = m_names.find(folded.substr(0, at)); found != m_names.end())
            return found->second;
    return {};
}

} // namespace ziplib

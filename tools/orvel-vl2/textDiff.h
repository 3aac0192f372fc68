#pragma once

#include <string>
#include <string_view>

namespace vl2 {

// The difference of two texts (UTF-8) in the unified format with three lines of context; "" if
// their lines are equal. Texts that have little in common are shown as replaced as a whole.
std::string unifiedDiff(std::string_view oldName, std::string_view oldText,
                        std::string_view newName, std::string_view newText);

} // namespace vl2

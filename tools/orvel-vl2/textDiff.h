#pragma once

#include <string>
#include <string_view>

namespace vl2 {

// The difference of two texts in the unified format with three lines of context, which patch and
// git can apply: bytes stay as they are; "" if the texts are equal. Texts that have little in
// common are shown as replaced as a whole.
std::string unifiedDiff(std::string_view oldName, std::string_view oldText,
                        std::string_view newName, std::string_view newText);

} // namespace vl2

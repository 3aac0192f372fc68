#include "ziplib/vl2zip/select/leftovers.h"

#include "ziplib/common/pattern.h"
#include "ziplib/format/names.h"

#include <algorithm>
#include <array>

namespace ziplib {

namespace {

constexpr std::array<std::string_view, 20> kLeftovers = {
    // editors: backups, automatic saves, locks
    "?*~", "*?.bak", "#?*#", ".#?*", ".?*.swp", ".?*.swo", ".?*.swn", ".?*.kate-swp",
    // locks of office programs
    "~$?*", ".~lock.?*#",
    // merges, patches and version control
    "*?.orig", "*?.rej", "vssver.scc",
    // temporary files
    "*?.tmp", ".goutputstream-?*",
    // metadata of file managers
    "thumbs.db", "desktop.ini", ".ds_store", "._?*", ".directory"};

} // namespace

bool isLeftover(std::string_view path) {
    const std::string_view name = lastComponent(path);
    PatternRules rules;
    rules.ignoreCase = true;
    rules.brackets = false;
    return std::any_of(kLeftovers.begin(), kLeftovers.end(), [&](std::string_view pattern) {
        return matchesPattern(pattern, name, rules);
    });
}

bool isNoContent(std::string_view path) {
    return path.starts_with('.') || path.find("/.") != std::string_view::npos || isLeftover(path);
}

} // namespace ziplib

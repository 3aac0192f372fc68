#include "ziplib/common/leftovers.h"

#include "ziplib/common/pattern.h"
#include "ziplib/format/names.h"

#include <algorithm>
#include <array>

namespace ziplib {

namespace {

constexpr std::array<std::string_view, 19> kLeftovers = {
    // editors: backups, automatic saves, locks
    "?*~", "*?.bak", "#?*#", ".#?*", ".?*.swp", ".?*.swo", ".?*.swn", ".?*.kate-swp",
    // office programs' locks
    "~$?*", ".~lock.?*#",
    // temporaries
    "*?.tmp", ".goutputstream-?*", ".fuse_hidden?*", ".nfs0?*",
    // what file managers know of a folder or a file
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

} // namespace ziplib

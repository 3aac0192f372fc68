#include "tools/orvel-vl2/rules.h"

#include <algorithm>
#include <array>
#include <map>
#include <set>

// Rules about files that belong together.

namespace vl2 {

namespace {

constexpr std::array<std::string_view, 3> kPictures = {".png", ".jpg", ".bmp"};

// The models of a player that a skin is drawn for: a set needs all of a group.
constexpr std::array<std::string_view, 5> kHuman = {"lmale", "mmale", "hmale", "lfemale",
                                                    "mfemale"};
constexpr std::array<std::string_view, 3> kBioderm = {"lbioderm", "mbioderm", "hbioderm"};

std::string withoutExtension(std::string_view path) {
    return std::string(path.substr(0, path.rfind('.')));
}

// The script of a compiled script, or null.
const CheckedFile *scriptOf(const Checked &checked, const CheckedFile &file) {
    return file.folded.ends_with(".dso") ? checked.find(withoutExtension(file.folded)) : nullptr;
}

void staleDso(const Checked &checked, const Report &report) {
    for (const CheckedFile &file : checked.files)
        if (const CheckedFile *script = scriptOf(checked, file);
            script != nullptr && checked.modified(file) < checked.modified(*script))
            report(file.path, std::string(script->path));
}

void shadowingDso(const Checked &checked, const Report &report) {
    for (const CheckedFile &file : checked.files)
        if (const CheckedFile *script = scriptOf(checked, file);
            script != nullptr && checked.modified(file) >= checked.modified(*script))
            report(file.path, std::string(script->path));
}

// The game prefers the .bm8 of a picture, so one that is older shows the old picture.
void bm8Twin(const Checked &checked, const Report &report) {
    for (const CheckedFile &file : checked.files) {
        if (!file.folded.ends_with(".bm8"))
            continue;
        for (const std::string_view extension : kPictures) {
            const CheckedFile *twin =
                checked.find(withoutExtension(file.folded) + std::string(extension));
            if (twin != nullptr && checked.modified(file) < checked.modified(*twin))
                report(file.path, std::string(twin->path));
        }
    }
}

template<std::size_t Count>
void checkSet(const std::map<std::string, std::set<std::string>> &skins,
              const std::array<std::string_view, Count> &models, const Report &report) {
    for (const auto &[skin, drawn] : skins) {
        std::string missing;
        std::size_t count = 0;
        for (const std::string_view model : models) {
            const bool has = drawn.contains(std::string(model));
            count += has ? 1 : 0;
            if (!has)
                missing.append(missing.empty() ? "" : ", ").append(model);
        }
        if (count > 0 && !missing.empty())
            report(skin, "without " + missing);
    }
}

void skinSet(const Checked &checked, const Report &report) {
    std::map<std::string, std::set<std::string>> skins;
    for (const CheckedFile &file : checked.files) {
        if (!file.folded.starts_with("textures/skins/"))
            continue;
        const std::string stem = withoutExtension(file.folded);
        const std::size_t dot = stem.rfind('.');
        if (dot != std::string::npos && dot > stem.rfind('/'))
            skins[stem.substr(0, dot)].insert(stem.substr(dot + 1));
    }
    checkSet(skins, kHuman, report);
    checkSet(skins, kBioderm, report);
}

constexpr std::array<Rule, 4> kRules = {{
    {"dso-stale", Severity::Error,
     "A compiled script is older than its script: remove the .dso, the game makes a new one.",
     staleDso, nullptr},
    {"dso-shadow", Severity::Warning,
     "The game runs the compiled script instead of its script: remove the .dso.", shadowingDso,
     nullptr},
    {"bm8-twin", Severity::Warning,
     "A .bm8 is older than its picture, and the game prefers it: remove or renew it.", bm8Twin,
     nullptr},
    {"skin-set", Severity::Warning,
     "A skin lacks models, which then show the default skin: draw these too.", skinSet, nullptr},
}};

} // namespace

std::span<const Rule> contentRules() {
    return kRules;
}

} // namespace vl2

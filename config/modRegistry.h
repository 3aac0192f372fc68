#pragma once

#include "registry/registry.h"

#include <QString>

#include <cstdint>

// The settings store: text values under named keys. Nothing is cached, so each call reads the
// values that other programs have written.

inline constexpr std::uint32_t kHkeyLocalMachine = platform::kLocalMachine;

// The program's own key, its table of programs, and the keys of other programs that it reads.
inline constexpr char16_t kProgramKey[] = u"SOFTWARE\\Voxhollow\\Game Editors\\Tribes2\\Orvel";
inline constexpr char16_t kProgramsKey[] =
    u"SOFTWARE\\Voxhollow\\Game Editors\\Tribes2\\Orvel\\Programs";
inline constexpr char16_t kGameKey[] = u"SOFTWARE\\Sierra Online\\Setup\\Tribes2";
inline constexpr char16_t kPhotoshopKey[] = u"SOFTWARE\\Adobe\\Photoshop\\6.0\\ApplicationPath";

// The text of a value, up to its first NUL; `sDefault` if the key or the value is missing or the
// value is not a string. An empty name is the key's default value.
QString RegGetString(std::uint32_t lRoot, const QString &sKey, const QString &sValueName,
                     const QString &sDefault = {});

// Stores a text without a terminating NUL and creates the key if it is missing. A write that the
// system rejects changes nothing and is not reported.
void RegSetString(std::uint32_t lRoot, const QString &sKey, const QString &sValueName,
                  const QString &sText);

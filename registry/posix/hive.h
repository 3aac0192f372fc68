#pragma once

#include "registry/posix/hiveValue.h"

#include <QByteArray>
#include <QHash>
#include <QStringList>
#include <QStringView>

#include <cstdint>
#include <mutex>
#include <optional>
#include <vector>

namespace platform::hive {

// The text of a hive file, in the format of Wine's registry files, with an index of its keys.
// Values are decoded on demand. Nothing in the text is an error: lines that cannot be parsed are
// skipped and stay in place in every text made from this one.
class Hive {
  public:
    explicit Hive(const QByteArray &text = {});

    const QByteArray &text() const { return m_text; }

    // False for a file in another encoding (UTF-16), which cannot be changed.
    bool isWritable() const;

    // Key paths have no leading or trailing separator; "" is the root, which always exists. A key
    // exists as well if only a subkey is stored.
    bool hasKey(QStringView path) const;

    // The last one if a value is stored several times.
    std::optional<Value> value(QStringView path, QStringView name) const;
    // The names of the values that `value` finds, in file order, each once.
    QStringList valueNames(QStringView path) const;

    // The text with the key added, or the same text if it exists. `now` is its creation time in
    // seconds since 1970.
    QByteArray withKey(QStringView path, std::int64_t now) const;
    // The text with the value set, and the key added if it is missing. Everything else stays
    // unchanged, byte for byte.
    QByteArray withValue(QStringView path, QStringView name, const Value &value,
                         std::int64_t now) const;

  private:
    // The part of the text from a key's line to the next key.
    struct Section {
        Line header;
        qsizetype end = 0;
    };
    // The parts of the text that belong to one key.
    struct Key {
        std::vector<const Section *> sections; // in the order of the text; most keys have one
        bool isAboveOthers = false;
    };

    void index();
    Key key(QStringView path) const;
    std::optional<ValueLine> find(QStringView path, QStringView name) const;
    std::vector<ValueLine> valueLines(const Section &section) const;
    QByteArray lineEnd() const;
    void appendKey(QByteArray &text, QStringView path, std::int64_t now) const;
    QByteArray inserted(const Section &section, const QByteArray &line) const;

    QByteArray m_text;
    std::vector<Section> m_sections;
    mutable std::mutex m_mutex;
    mutable QHash<QString, Key> m_keys; // cache, by folded path
};

} // namespace platform::hive

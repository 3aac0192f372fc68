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
// Values are read when they are asked for. Nothing in the text is an error: what cannot be
// understood is passed over, and stays where it is in every text that is made from this one.
class Hive {
  public:
    explicit Hive(const QByteArray &text = {});

    const QByteArray &text() const { return m_text; }

    // False for a file in another encoding (UTF-16), to which nothing can be added.
    bool isWritable() const;

    // Key paths have no separator at their ends; "" is the root, which is always there. A key is
    // there as well where only a key below it is written.
    bool hasKey(QStringView path) const;

    // Of a value that is written more than once, the last one.
    std::optional<Value> value(QStringView path, QStringView name) const;
    // The names of the values that `value` finds, in the order of the file, each once.
    QStringList valueNames(QStringView path) const;

    // The text with the key added, or the same text where the key is there. `now` is its time of
    // making in seconds since 1970.
    QByteArray withKey(QStringView path, std::int64_t now) const;
    // The text with the value set, the key added where it is missing. Everything else stays as it
    // is, byte for byte.
    QByteArray withValue(QStringView path, QStringView name, const Value &value,
                         std::int64_t now) const;

  private:
    // The part of the text from a key's line to the next key.
    struct Section {
        Line header;
        qsizetype end = 0;
    };
    // What the text says about one key.
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
    mutable QHash<QString, Key> m_keys; // those that were asked for, by folded path
};

} // namespace platform::hive

#pragma once

#include <QString>

namespace platform {

// A pattern with * and ? in the manner of DOS: case-insensitive, "*.*" matches every name, a "?" at
// the end of a name or before its dot may match nothing, and a pattern that ends in a dot matches
// names without one.
class NamePattern {
  public:
    explicit NamePattern(const QString &pattern);

    bool matches(const QString &name) const;
    static bool isPattern(const QString &name);

  private:
    QString m_pattern;
    bool m_matchesAll;
};

} // namespace platform

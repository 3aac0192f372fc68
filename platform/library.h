#pragma once

#include <QString>

namespace platform {

// A companion library, found in the program's folder (installed: in the package's private library
// folder) and loaded at the first use of `function`, never before.
class Library {
  public:
    // `name` is the bare name, "vl2uzip".
    explicit Library(const QString &name) : m_name(name) {}

    // The address of an exported function. Raises 53 where the library is missing, 48 where it
    // cannot be loaded, 453 where it lacks the function. The library stays loaded.
    template<typename Function>
    Function function(const char *symbol) {
        return reinterpret_cast<Function>(resolve(symbol));
    }

    // Tells every Library to look in this folder and nowhere else; "" undoes that. For tests.
    static void setFolder(const QString &folder);

  private:
    void *resolve(const char *symbol);

    QString m_name;
    void *m_handle = nullptr;
};

} // namespace platform

#pragma once

#include "platform/error.h"

#include <QString>

namespace platform {

// A companion library in the program's folder (installed: in the package's private library folder),
// loaded at the first use of `function`.
class Library {
  public:
    // `name` is the bare name, "vl2uzip".
    explicit Library(const QString &name) : m_name(name) {}

    // The address of an exported function. Raises 53 if the library is missing, 48 if it cannot be
    // loaded, 453 if it has no such function. The library stays loaded.
    template<typename Function>
    Function function(const char *symbol) {
        return reinterpret_cast<Function>(resolve(symbol));
    }

    // The same; null if the library has no such function.
    template<typename Function>
    Function functionIfThere(const char *symbol) {
        try {
            return function<Function>(symbol);
        } catch (const RuntimeError &error) {
            if (error.number() != ErrorNumber::EntryPointNotFound)
                throw;
            return nullptr;
        }
    }

    // Makes every Library use this folder only; "" resets that. For tests.
    static void setFolder(const QString &folder);

  private:
    void *resolve(const char *symbol);

    QString m_name;
    void *m_handle = nullptr;
};

} // namespace platform

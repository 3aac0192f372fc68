#pragma once

#include "storage/status.h"

#include <QString>

#include <exception>
#include <string>

namespace platform {

// Numbers of the runtime errors that the program raises.
enum class ErrorNumber : int {
    IllegalProcedureCall = 5,
    Overflow = 6,
    SubscriptOutOfRange = 9,
    LoadingLibrary = 48,
    BadFileName = 52,
    FileNotFound = 53,
    FileAlreadyExists = 58,
    DeviceUnavailable = 68,
    PermissionDenied = 70,
    PathFileAccess = 75,
    PathNotFound = 76,
    EntryPointNotFound = 453,
};

// A runtime error.
class RuntimeError : public std::exception {
  public:
    RuntimeError(ErrorNumber number, const QString &description, const QString &source = {});

    ErrorNumber number() const { return m_number; }
    // The text for the user.
    const QString &description() const { return m_description; }
    // The component that raised it; may be empty.
    const QString &source() const { return m_source; }
    const char *what() const noexcept override { return m_what.c_str(); }

  private:
    ErrorNumber m_number;
    QString m_description;
    QString m_source;
    std::string m_what;
};

// The number for a failed operation on a file or folder; `missing` if it does not exist.
ErrorNumber errorNumberOf(const Status &status, ErrorNumber missing = ErrorNumber::FileNotFound);

// Raises the error with its usual text and a subject ("File not found: vl2uzip").
[[noreturn]] void raise(ErrorNumber number, const QString &subject = {});

} // namespace platform

#include "platform/error.h"

namespace platform {

namespace {

// The usual text for a number ("Subscript out of range" for 9).
QString describe(ErrorNumber number) {
    switch (number) {
    case ErrorNumber::IllegalProcedureCall:
        return QStringLiteral("Invalid procedure call or argument");
    case ErrorNumber::Overflow:
        return QStringLiteral("Overflow");
    case ErrorNumber::SubscriptOutOfRange:
        return QStringLiteral("Subscript out of range");
    case ErrorNumber::LoadingLibrary:
        return QStringLiteral("Error in loading DLL");
    case ErrorNumber::BadFileName:
        return QStringLiteral("Bad file name or number");
    case ErrorNumber::FileNotFound:
        return QStringLiteral("File not found");
    case ErrorNumber::FileAlreadyExists:
        return QStringLiteral("File already exists");
    case ErrorNumber::DeviceUnavailable:
        return QStringLiteral("Device unavailable");
    case ErrorNumber::PermissionDenied:
        return QStringLiteral("Permission denied");
    case ErrorNumber::PathFileAccess:
        return QStringLiteral("Path/File access error");
    case ErrorNumber::PathNotFound:
        return QStringLiteral("Path not found");
    case ErrorNumber::EntryPointNotFound:
        return QStringLiteral("Specified DLL function not found");
    }
    return QStringLiteral("Application-defined or object-defined error");
}

} // namespace

RuntimeError::RuntimeError(ErrorNumber number, const QString &description, const QString &source)
    : m_number(number), m_description(description), m_source(source),
      m_what(description.toStdString()) {}

ErrorNumber errorNumberOf(const Status &status, ErrorNumber missing) {
    switch (status.kind) {
    case Failure::NotFound:
        return missing;
    case Failure::Busy:
        return ErrorNumber::PermissionDenied;
    default:
        return ErrorNumber::PathFileAccess;
    }
}

void raise(ErrorNumber number, const QString &subject) {
    const QString text = describe(number);
    throw RuntimeError(number, subject.isEmpty() ? text : text + QStringLiteral(": ") + subject);
}

} // namespace platform

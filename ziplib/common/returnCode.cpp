#include "ziplib/common/returnCode.h"

#include <utility>

namespace ziplib {

ReturnCode returnCodeOf(const Status &status, ReturnCode otherwise) {
    switch (status.kind) {
    case Failure::None:
        return ReturnCode::Done;
    case Failure::Full:
        return ReturnCode::DiskFull;
    case Failure::WrongFormat:
        return ReturnCode::SevereDamage;
    case Failure::EndsEarly:
        return ReturnCode::EndsEarly;
    case Failure::Damaged:
        return ReturnCode::Damaged;
    case Failure::Unsupported:
        return ReturnCode::Unsupported;
    case Failure::Password:
        return ReturnCode::NoPassword;
    case Failure::Cancelled:
        return ReturnCode::Cancelled;
    case Failure::CannotOpen:
        return ReturnCode::CannotOpen;
    case Failure::CannotCreate:
        return ReturnCode::CannotCreate;
    case Failure::CannotWrite:
        return ReturnCode::CannotWrite;
    case Failure::Conflict:
        return ReturnCode::Conflict;
    case Failure::NothingMatched:
        return ReturnCode::NothingMatched;
    case Failure::NothingToDo:
        return ReturnCode::NothingToDo;
    default:
        return otherwise;
    }
}

Status failure(const Status &status, Failure kind) {
    if (status.ok())
        return {};
    const bool hasCode = returnCodeOf(status, ReturnCode::Done) != ReturnCode::Done;
    std::string text = status.message;
    if (!status.path.empty() && text.find(status.path) == std::string::npos)
        text = status.path + ": " + text;
    return {hasCode ? status.kind : kind, std::move(text)};
}

} // namespace ziplib

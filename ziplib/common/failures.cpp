#include "ziplib/common/failures.h"

namespace ziplib {

namespace {

ReturnCode codeOf(platform::Failure kind, ReturnCode usual) {
    switch (kind) {
    case platform::Failure::None:
        return ReturnCode::Done;
    case platform::Failure::Full:
        return ReturnCode::DiskFull;
    case platform::Failure::WrongFormat:
        return ReturnCode::SevereDamage;
    case platform::Failure::EndsEarly:
        return ReturnCode::EndsEarly;
    case platform::Failure::Damaged:
        return ReturnCode::Damaged;
    case platform::Failure::Unsupported:
        return ReturnCode::Unsupported;
    case platform::Failure::Password:
        return ReturnCode::NoPassword;
    case platform::Failure::Cancelled:
        return ReturnCode::Cancelled;
    default:
        return usual;
    }
}

} // namespace

Outcome failure(const platform::Status &status, ReturnCode usual) {
    if (status.ok())
        return {};
    std::string text = status.message;
    if (!status.path.empty() && text.find(status.path) == std::string::npos)
        text = status.path + ": " + text;
    return {codeOf(status.kind, usual), std::move(text)};
}

} // namespace ziplib

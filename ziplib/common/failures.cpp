#include "ziplib/common/failures.h"

namespace ziplib {

namespace {

Code codeOf(platform::Failure kind, Code usual) {
    switch (kind) {
    case platform::Failure::None:
        return Code::Done;
    case platform::Failure::Full:
        return Code::DiskFull;
    case platform::Failure::NotArchive:
        return Code::SevereDamage;
    case platform::Failure::EndsEarly:
        return Code::EndsEarly;
    case platform::Failure::Damaged:
        return Code::Damaged;
    case platform::Failure::Unsupported:
        return Code::Unsupported;
    case platform::Failure::Password:
        return Code::NoPassword;
    case platform::Failure::Cancelled:
        return Code::Cancelled;
    default:
        return usual;
    }
}

} // namespace

Outcome failure(const platform::Status &status, Code usual) {
    if (status.ok()) {
        return {};
    }
    std::string text = status.message;
    if (!status.path.empty() && text.find(status.path) == std::string::npos) {
        text = status.path + ": " + text;
    }
    return {codeOf(status.kind, usual), std::move(text)};
}

} // namespace ziplib

#include "ziplib/vl2uzip/callResult.h"

#include <algorithm>
#include <array>
#include <limits>

namespace ziplib {

namespace {

using platform::Failure;
using platform::Status;

// From what hides most to what hides nothing: what ended the call, what is wrong with the archive
// as a whole, with single entries, with the disk they go to.
constexpr std::array<Code, 11> byWeight = {Code::Cancelled,      Code::DiskFull,    Code::NoArchive,
                                           Code::SevereDamage,   Code::EndsEarly,   Code::Damaged,
                                           Code::NoPassword,     Code::Unsupported, Code::Warnings,
                                           Code::NothingMatched, Code::Done};

auto weight(Code code) {
    return std::find(byWeight.begin(), byWeight.end(), code);
}

} // namespace

Code codeOfEntry(const Status &status) {
    switch (status.kind) {
    case Failure::None:
        return Code::Done;
    case Failure::Full:
        return Code::DiskFull;
    case Failure::EndsEarly:
        return Code::EndsEarly;
    case Failure::Damaged:
    case Failure::NotArchive:
        return Code::Damaged;
    case Failure::Unsupported:
        return Code::Unsupported;
    case Failure::Password:
        return Code::NoPassword;
    case Failure::Cancelled:
        return Code::Cancelled;
    default:
        return Code::Warnings;
    }
}

Code codeOfArchive(const Status &status) {
    switch (status.kind) {
    case Failure::None:
        return Code::Done;
    case Failure::NotArchive:
    case Failure::Damaged:
    case Failure::Resources:
        return Code::SevereDamage;
    case Failure::EndsEarly:
        return Code::EndsEarly;
    case Failure::Cancelled:
        return Code::Cancelled;
    default:
        return Code::NoArchive;
    }
}

void CallResult::add(Code code, const std::string &message) {
    if (weight(code) < weight(m_code)) {
        m_code = code;
        m_message = message;
    }
}

void CallResult::replace(Code code, const std::string &message) {
    m_code = code;
    m_message = message;
}

void CallResult::addMissing(std::uint64_t entries) {
    const auto room =
        static_cast<std::uint64_t>(std::numeric_limits<std::int32_t>::max() - m_missing);
    m_missing += static_cast<std::int32_t>(std::min(entries, room));
}

} // namespace ziplib

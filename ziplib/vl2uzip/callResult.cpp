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
constexpr std::array<ReturnCode, 11> kByWeight = {
    ReturnCode::Cancelled,      ReturnCode::DiskFull,    ReturnCode::NoArchive,
    ReturnCode::SevereDamage,   ReturnCode::EndsEarly,   ReturnCode::Damaged,
    ReturnCode::NoPassword,     ReturnCode::Unsupported, ReturnCode::Warnings,
    ReturnCode::NothingMatched, ReturnCode::Done};

auto weight(ReturnCode code) {
    return std::find(kByWeight.begin(), kByWeight.end(), code);
}

} // namespace

ReturnCode codeOfEntry(const Status &status) {
    switch (status.kind) {
    case Failure::None:
        return ReturnCode::Done;
    case Failure::Full:
        return ReturnCode::DiskFull;
    case Failure::EndsEarly:
        return ReturnCode::EndsEarly;
    case Failure::Damaged:
    case Failure::WrongFormat:
        return ReturnCode::Damaged;
    case Failure::Unsupported:
        return ReturnCode::Unsupported;
    case Failure::Password:
        return ReturnCode::NoPassword;
    case Failure::Cancelled:
        return ReturnCode::Cancelled;
    default:
        return ReturnCode::Warnings;
    }
}

ReturnCode codeOfArchive(const Status &status) {
    switch (status.kind) {
    case Failure::None:
        return ReturnCode::Done;
    case Failure::WrongFormat:
    case Failure::Damaged:
    case Failure::Resources:
        return ReturnCode::SevereDamage;
    case Failure::EndsEarly:
        return ReturnCode::EndsEarly;
    case Failure::Cancelled:
        return ReturnCode::Cancelled;
    default:
        return ReturnCode::NoArchive;
    }
}

void CallResult::add(ReturnCode code, const std::string &message) {
    if (weight(code) < weight(m_code)) {
        m_code = code;
        m_message = message;
    }
}

void CallResult::replace(ReturnCode code, const std::string &message) {
    m_code = code;
    m_message = message;
}

void CallResult::addMissing(std::uint64_t entries) {
    const auto room =
        static_cast<std::uint64_t>(std::numeric_limits<std::int32_t>::max() - m_missing);
    m_missing += static_cast<std::int32_t>(std::min(entries, room));
}

} // namespace ziplib

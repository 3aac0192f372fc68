#include "ziplib/vl2uzip/callResult.h"

#include "ziplib/common/returnCode.h"

#include <algorithm>
#include <array>
#include <limits>

namespace ziplib {

namespace {

// By priority: what ended the call, damage to the archive as a whole, failures of single entries.
constexpr std::array<ReturnCode, 11> kByPriority = {
    ReturnCode::Cancelled,      ReturnCode::DiskFull,    ReturnCode::NoArchive,
    ReturnCode::SevereDamage,   ReturnCode::EndsEarly,   ReturnCode::Damaged,
    ReturnCode::NoPassword,     ReturnCode::Unsupported, ReturnCode::Warnings,
    ReturnCode::NothingMatched, ReturnCode::Done};

auto priority(ReturnCode code) {
    return std::find(kByPriority.begin(), kByPriority.end(), code);
}

} // namespace

ReturnCode codeOfEntry(const Status &status) {
    return returnCodeOf(status, ReturnCode::Warnings);
}

ReturnCode codeOfArchive(const Status &status) {
    if (status.is(Failure::Damaged) || status.is(Failure::Resources))
        return ReturnCode::SevereDamage;
    return returnCodeOf(status, ReturnCode::NoArchive);
}

void CallResult::add(ReturnCode code, const std::string &message) {
    if (priority(code) < priority(m_code)) {
        m_code = code;
        m_message = message;
    }
}

void CallResult::add(const Status &status, const std::string &message) {
    m_systemFailure = m_systemFailure || status.is(Failure::Denied) || status.is(Failure::Io) ||
                      status.is(Failure::Resources) || status.is(Failure::Busy);
    add(codeOfEntry(status), message);
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

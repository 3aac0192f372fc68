#include "ziplib/vl2uzip/callResult.h"

#include <algorithm>
#include <array>
#include <limits>

namespace ziplib {

namespace {

// Of several codes a call returns the first of these: first what ended the call, then damage of the
// whole archive, then of single entries.
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
    return returnCodeOf(status, ReturnCode::Warnings);
}

ReturnCode codeOfArchive(const Status &status) {
    if (status.is(Failure::Damaged) || status.is(Failure::Resources))
        return ReturnCode::SevereDamage;
    return returnCodeOf(status, ReturnCode::NoArchive);
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

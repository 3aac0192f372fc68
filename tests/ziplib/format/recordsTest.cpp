#include "ziplib/format/records.h"
#include "ziplib/format/bytes.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <tuple>

using namespace ziplib; // NOLINT: the tests speak this language

namespace {

constexpr std::uint64_t kFour = 1ULL << 32U;

const std::uint8_t *bytes(const std::string &text) {
    return reinterpret_cast<const std::uint8_t *>(text.data());
}

std::string number(std::uint64_t value) {
    std::uint8_t field[8];
    put64(field, value);
    return {reinterpret_cast<const char *>(field), sizeof field};
}

// A central record of another tool, with another extra field after the 64-bit one.
std::string keptRecord(std::uint32_t size, std::uint32_t packed, std::uint32_t offset,
                       const std::string &zip64Fields, std::uint16_t version = 20) {
    const std::string other("\x55\x54\x01\x00\x00", 5);
    std::string extra = number(1).substr(0, 2) + number(zip64Fields.size()).substr(0, 2);
    extra = zip64Fields.empty() ? other : extra + zip64Fields + other;
    std::string record(46, '\0');
    auto *at = reinterpret_cast<std::uint8_t *>(record.data());
    put32(at, 0x02014b50U);
    put16(at + 6, version);
    put32(at + 20, packed);
    put32(at + 24, size);
    put16(at + 28, 1);
    put16(at + 30, static_cast<std::uint16_t>(extra.size()));
    put16(at + 32, 2);
    put32(at + 42, offset);
    return record + "n" + extra + "cc";
}

TEST(Records, AKeptRecordHasItsNewOffsetInTheFieldThatHoldsIt) {
    const std::uint32_t full = kZip64Sentinel;
    const std::tuple<std::string, std::uint64_t, std::string> rows[] = {
        {keptRecord(5, 5, 7, ""), 99, keptRecord(5, 5, 99, "")},
        {keptRecord(5, 5, 7, ""), kFour, keptRecord(5, 5, full, number(kFour), 45)},
        {keptRecord(full, 5, full, number(kFour) + number(1)), kFour + 5,
         keptRecord(full, 5, full, number(kFour) + number(kFour + 5))},
        {keptRecord(full, full, 7, number(kFour) + number(kFour + 1)), kFour + 5,
         keptRecord(full, full, full, number(kFour) + number(kFour + 1) + number(kFour + 5), 45)},
    };
    for (const auto &[before, offset, after] : rows) {
        std::string out = "before";
        appendKept(out, before, offset);
        EXPECT_EQ(out, "before" + after) << before.size();
    }
}

TEST(Records, SixtyFourBitFieldsAppearExactlyIfNumbersNeedThem) {
    const std::uint64_t full = kZip64Sentinel;
    const std::tuple<std::uint64_t, std::uint64_t, std::uint64_t, std::string> rows[] = {
        {full - 1, full - 1, full - 1, ""},
        {full, 5, 5, number(full)},
        {kFour, kFour - 1, 5, number(kFour) + number(kFour - 1)},
        {5, 5, kFour, number(kFour)},
    };
    for (const auto &[size, packed, offset, fields] : rows) {
        WrittenEntry entry;
        entry.name = "n";
        entry.size = size;
        entry.compressedSize = packed;
        entry.offset = offset;
        std::string out;
        appendCentral(out, entry);
        const std::size_t extra = get16(bytes(out) + 30);
        EXPECT_EQ(extra, fields.empty() ? 0 : fields.size() + 4);
        EXPECT_EQ(out.substr(47 + (extra == 0 ? 0 : 4)), fields);
        EXPECT_EQ(get16(bytes(out) + 6), fields.empty() ? 10 : 45);
        EXPECT_EQ(get32(bytes(out) + 24), std::min<std::uint64_t>(size, kZip64Sentinel));
        // The local header of a streamed entry holds both sizes in 64 bits.
        entry.zip64 = true;
        std::string local;
        appendLocal(local, entry);
        EXPECT_EQ(local.size(), entry.localSize());
        EXPECT_EQ(local.substr(35), number(size) + number(packed));
    }
    const CentralDirectory directories[] = {
        {0, 0, 0}, {65534, kZip64Sentinel - 1, kZip64Sentinel - 1}, {65535, 5, 5}, {1, kFour, 5}};
    for (const auto &[entries, offset, size] : directories) {
        std::string out;
        appendEnd(out, {entries, offset, size}, "");
        const bool zip64 = entries == 65535 || offset == kFour;
        ASSERT_EQ(out.size(), zip64 ? 22 + 56 + 20 : 22);
        EXPECT_EQ(zip64 ? get64(bytes(out) + 32) : entries, entries);
        EXPECT_EQ(zip64 ? get64(bytes(out) + 48) : offset, offset);
        EXPECT_EQ(zip64 ? get64(bytes(out) + 56 + 8) : offset + size, offset + size);
    }
}

} // namespace

#include "ziplib/format/records.h"
#include "ziplib/format/bytes.h"

#include <gtest/gtest.h>

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

std::string number16(std::size_t value) {
    return number(value).substr(0, 2);
}

// A record as other tools write it, with another extra field behind the 64-bit one.
std::string keptRecord(std::uint32_t size, std::uint32_t packed, std::uint32_t offset,
                       const std::string &wideFields, std::uint16_t version = 20) {
    const std::string other("\x55\x54\x01\x00\x00", 5);
    const std::string extra =
        (wideFields.empty() ? "" : number16(1) + number16(wideFields.size()) + wideFields) + other;
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

TEST(Records, AKeptRecordTellsItsNewOffsetInWhicheverFieldHoldsIt) {
    struct Row {
        const char *title;
        std::string before;
        std::uint64_t offset;
        std::string after;
    };
    const Row rows[] = {
        {"in 32 bits", keptRecord(5, 5, 7, ""), 99, keptRecord(5, 5, 99, "")},
        {"moved beyond 32 bits", keptRecord(5, 5, 7, ""), kFour,
         keptRecord(5, 5, kZip64Sentinel, number(kFour), 45)},
        {"in 64 bits already", keptRecord(5, 5, kZip64Sentinel, number(kFour)), kFour + 5,
         keptRecord(5, 5, kZip64Sentinel, number(kFour + 5))},
        {"behind a 64-bit size",
         keptRecord(kZip64Sentinel, 5, kZip64Sentinel, number(kFour) + number(1)), kFour + 5,
         keptRecord(kZip64Sentinel, 5, kZip64Sentinel, number(kFour) + number(kFour + 5))},
        {"joining 64-bit sizes",
         keptRecord(kZip64Sentinel, kZip64Sentinel, 7, number(kFour) + number(kFour + 1)),
         kFour + 5,
         keptRecord(kZip64Sentinel, kZip64Sentinel, kZip64Sentinel,
                    number(kFour) + number(kFour + 1) + number(kFour + 5), 45)},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.title);
        std::string out = "before";
        appendKept(out, row.before, row.offset);
        EXPECT_EQ(out, "before" + row.after);
    }
}

TEST(Records, SixtyFourBitFieldsAppearExactlyWhereNumbersNeedThem) {
    struct Row {
        std::uint64_t size;
        std::uint64_t packed;
        std::uint64_t offset;
        std::string fields;
    };
    const Row rows[] = {
        {kZip64Sentinel - 1, kZip64Sentinel - 1, kZip64Sentinel - 1, ""},
        {kZip64Sentinel, 5, 5, number(kZip64Sentinel)},
        {kFour, kFour - 1, 5, number(kFour) + number(kFour - 1)},
        {5, 5, kFour, number(kFour)},
    };
    for (const Row &row : rows) {
        WrittenEntry entry;
        entry.name = "n";
        entry.size = row.size;
        entry.compressedSize = row.packed;
        entry.offset = row.offset;
        std::string out;
        appendCentral(out, entry);
        const std::size_t extra = get16(bytes(out) + 30);
        EXPECT_EQ(extra, row.fields.empty() ? 0 : row.fields.size() + 4);
        EXPECT_EQ(out.substr(47 + (extra == 0 ? 0 : 4)), row.fields);
        EXPECT_EQ(get16(bytes(out) + 6), row.fields.empty() ? 10 : 45);
        EXPECT_EQ(get32(bytes(out) + 24), row.size >= kZip64Sentinel ? kZip64Sentinel : row.size);
        // Of what is streamed into the archive the local record holds both sizes, whatever they
        // are.
        entry.zip64 = true;
        std::string local;
        appendLocal(local, entry);
        EXPECT_EQ(local.size(), entry.localSize());
        EXPECT_EQ(local.substr(35), number(row.size) + number(row.packed));
    }
}

TEST(Records, TheEndRecordGrowsWithWhatItCounts) {
    struct Row {
        CentralDirectory directory;
        std::size_t size;
    };
    const Row rows[] = {
        {{0, 0, 0}, 22},
        {{65534, kZip64Sentinel - 1, kZip64Sentinel - 1}, 22},
        {{65535, 5, 5}, 22 + 56 + 20},
        {{1, kFour, 5}, 22 + 56 + 20},
    };
    for (const Row &row : rows) {
        std::string out;
        appendEnd(out, row.directory, "");
        ASSERT_EQ(out.size(), row.size);
        if (row.size > 22) {
            EXPECT_EQ(get64(bytes(out) + 32), row.directory.entries);
            EXPECT_EQ(get64(bytes(out) + 48), row.directory.offset);
            EXPECT_EQ(get64(bytes(out) + 56 + 8), row.directory.offset + row.directory.size);
        }
    }
}

} // namespace

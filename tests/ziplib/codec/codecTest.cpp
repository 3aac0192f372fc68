#include "ziplib/codec/codec.h"
#include "ziplib/codec/lineEnds.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

using ziplib::LineEndConverter;
using ziplib::LineEnds;

namespace {

// Converts a text in two chunks.
std::string converted(const std::string &text, std::size_t cut, LineEnds want) {
    LineEndConverter lineEnds(want);
    std::string all;
    for (const std::string &chunk : {text.substr(0, cut), text.substr(cut)}) {
        std::string out(LineEndConverter::room(chunk.size()), '\0');
        const std::size_t size =
            lineEnds.convert(reinterpret_cast<const std::uint8_t *>(chunk.data()), chunk.size(),
                             reinterpret_cast<std::uint8_t *>(out.data()));
        all += out.substr(0, size);
    }
    std::uint8_t last = 0;
    return lineEnds.finish(&last) == 1 ? all + static_cast<char>(last) : all;
}

} // namespace

TEST(LineEnds, AreConvertedWhereverAChunkEnds) {
    const std::tuple<std::string, const char *, const char *> rows[] = {
        {"a\r\nb\r\n", "a\nb\n", "a\r\nb\r\n"},
        {"a\nb", "a\nb", "a\r\nb"},
        {"a\rb\r", "a\rb\r", "a\rb\r"},
        {"\r\r\n\n", "\r\n\n", "\r\r\n\r\n"}};
    for (const auto &[text, lf, crLf] : rows) {
        for (std::size_t cut = 0; cut <= text.size(); ++cut) {
            EXPECT_EQ(converted(text, cut, LineEnds::Lf), lf) << cut;
            EXPECT_EQ(converted(text, cut, LineEnds::CrLf), crLf) << cut;
            EXPECT_EQ(converted(text, cut, LineEnds::Keep), text) << cut;
        }
    }
}

// Of every length, at any alignment, and in two chunks.
TEST(Checksums, AreThoseOfABitwiseCrc32) {
    EXPECT_EQ(ziplib::crc32(0, "123456789", 9), 0xCBF43926U);
    std::vector<std::uint8_t> data(3000);
    for (std::size_t i = 0; i < data.size(); ++i)
        data[i] = static_cast<std::uint8_t>((i * i) >> 7);
    for (const std::size_t start : {0U, 1U, 63U}) {
        std::uint32_t bitwise = 0xFFFFFFFFU;
        for (std::size_t end = start; end < data.size(); ++end) {
            const std::size_t cut = start + (end - start) / 3;
            const std::uint32_t first = ziplib::crc32(0, data.data() + start, cut - start);
            ASSERT_EQ(ziplib::crc32(0, data.data() + start, end - start), ~bitwise) << end;
            ASSERT_EQ(ziplib::crc32(first, data.data() + cut, end - cut), ~bitwise) << end;
            bitwise ^= data[end];
            for (int bit = 0; bit < 8; ++bit)
                bitwise = (bitwise >> 1U) ^ ((bitwise & 1U) != 0 ? 0xEDB88320U : 0U);
        }
    }
}

#include "ziplib/codec/codec.h"

#include <gtest/gtest.h>

#include <vector>

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

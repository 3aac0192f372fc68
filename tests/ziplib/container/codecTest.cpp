#include "ziplib/container/codec.h"
#include "ziplib/container/crypt.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes sample(std::size_t size) {
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<std::uint8_t>((i * i) >> 7);
    }
    return bytes;
}

Bytes deflatedAsStream(const Bytes &data, std::size_t piece) {
    ziplib::DeflateStream stream(6);
    Bytes out;
    std::uint8_t room[100];
    std::size_t at = 0;
    bool ended = false;
    while (!ended) {
        const std::size_t now = std::min(piece, data.size() - at);
        const auto step =
            stream.step(data.data() + at, now, room, sizeof room, at + now == data.size());
        EXPECT_FALSE(step.failed);
        at += step.taken;
        out.insert(out.end(), room, room + step.given);
        ended = step.ended;
    }
    return out;
}

} // namespace

TEST(Codecs, WholeAndStreamedReadEachOther) {
    for (const std::size_t size : {0U, 1U, 1000U, 100000U}) {
        const Bytes data = sample(size);
        const Bytes streamed = deflatedAsStream(data, 777);
        Bytes back(size);
        ziplib::Inflater inflater;
        EXPECT_TRUE(inflater.inflate(streamed.data(), streamed.size(), back.data(), size));
        EXPECT_EQ(back, data);

        ziplib::Deflater deflater(9);
        Bytes packed(size + 100);
        packed.resize(deflater.deflate(data.data(), size, packed.data(), packed.size()));
        ziplib::InflateStream stream;
        Bytes out(size + 10);
        const auto step = stream.step(packed.data(), packed.size(), out.data(), out.size());
        EXPECT_TRUE(step.ended);
        EXPECT_EQ(step.given, size);
        out.resize(size);
        EXPECT_EQ(out, data);
    }
}

TEST(Codecs, RefuseDataOfAnotherSize) {
    const Bytes data = sample(1000);
    const Bytes packed = deflatedAsStream(data, 1000);
    Bytes room(2000);
    ziplib::Inflater inflater;
    for (const std::size_t size : {0U, 999U, 1001U}) {
        EXPECT_FALSE(inflater.inflate(packed.data(), packed.size(), room.data(), size)) << size;
    }
    EXPECT_FALSE(inflater.inflate(packed.data(), packed.size() - 1, room.data(), 1000));
    EXPECT_TRUE(inflater.inflate(packed.data(), packed.size(), room.data(), 1000));
}

TEST(Codecs, ADeflaterSaysWhereTheRoomIsTooSmall) {
    const Bytes data = sample(1000);
    std::uint8_t room[10];
    EXPECT_EQ(ziplib::Deflater(9).deflate(data.data(), data.size(), room, sizeof room), 0U);
}

// Of every length, from any place in memory, and in two pieces.
TEST(Codecs, TheChecksumIsTheUsualOne) {
    EXPECT_EQ(ziplib::crc32(0, "123456789", 9), 0xCBF43926U);
    const Bytes data = sample(3000);
    for (const std::size_t start : {0U, 1U, 63U}) {
        std::uint32_t bitwise = 0xFFFFFFFFU;
        for (std::size_t end = start; end < data.size(); ++end) {
            const std::size_t cut = start + (end - start) / 3;
            const std::uint32_t first = ziplib::crc32(0, data.data() + start, cut - start);
            ASSERT_EQ(ziplib::crc32(0, data.data() + start, end - start), ~bitwise) << end;
            ASSERT_EQ(ziplib::crc32(first, data.data() + cut, end - cut), ~bitwise) << end;
            bitwise ^= data[end];
            for (int bit = 0; bit < 8; ++bit) {
                bitwise = (bitwise >> 1U) ^ ((bitwise & 1U) != 0 ? 0xEDB88320U : 0U);
            }
        }
    }
}

TEST(TheCipher, DecryptsWhatItEncryptsInAnyPieces) {
    Bytes data = sample(500);
    ziplib::Cipher(std::string_view("secret")).encrypt(data.data(), data.size());
    EXPECT_NE(data, sample(500));
    ziplib::Cipher cipher("secret");
    cipher.decrypt(data.data(), 12);
    cipher.decrypt(data.data() + 12, data.size() - 12);
    EXPECT_EQ(data, sample(500));
}

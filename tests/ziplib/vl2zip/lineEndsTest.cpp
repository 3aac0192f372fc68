#include "ziplib/vl2zip/lineends.h"

#include <gtest/gtest.h>

#include <string>

using namespace ziplib; // NOLINT: the tests speak this language

namespace {

std::string convert(LineEnds mode, const std::string &text, std::size_t piece) {
    LineEndConverter converter(mode);
    Bytes out;
    for (std::size_t at = 0; at < text.size(); at += piece) {
        const std::string part = text.substr(at, piece);
        converter.convert(reinterpret_cast<const std::uint8_t *>(part.data()), part.size(), out);
    }
    converter.finish(out);
    return {out.begin(), out.end()};
}

TEST(LineEnds, WhereverTheTextIsCutItConvertsTheSame) {
    struct Row {
        LineEnds mode;
        std::string text;
        std::string expected;
    };
    const Row rows[] = {
        {LineEnds::CrlfToLf, "a\r\nb\r\n\r\nc", "a\nb\n\nc"},
        {LineEnds::CrlfToLf, "\r\r\n\r", "\r\n\r"},
        {LineEnds::LfToCrlf, "a\nb\r\n\nc\n", "a\r\nb\r\n\r\nc\r\n"},
        {LineEnds::LfToCrlf, "\r\r\n", "\r\r\n"},
        {LineEnds::Keep, "a\nb\r\n", "a\nb\r\n"},
    };
    for (const Row &row : rows) {
        for (std::size_t piece = 1; piece <= row.text.size(); ++piece) {
            EXPECT_EQ(convert(row.mode, row.text, piece), row.expected) << piece;
        }
    }
}

} // namespace

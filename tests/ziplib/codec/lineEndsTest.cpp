#include "ziplib/codec/lineEnds.h"

#include <gtest/gtest.h>

#include <string>

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
    const struct {
        const char *text;
        const char *lf;
        const char *crLf;
    } rows[] = {{"a\r\nb\r\n", "a\nb\n", "a\r\nb\r\n"},
                {"a\nb", "a\nb", "a\r\nb"},
                {"a\rb\r", "a\rb\r", "a\rb\r"},
                {"\r\r\n\n", "\r\n\n", "\r\r\n\r\n"},
                {"", "", ""}};
    for (const auto &row : rows) {
        const std::string text = row.text;
        for (std::size_t cut = 0; cut <= text.size(); ++cut) {
            EXPECT_EQ(converted(text, cut, LineEnds::Lf), row.lf) << cut;
            EXPECT_EQ(converted(text, cut, LineEnds::CrLf), row.crLf) << cut;
            EXPECT_EQ(converted(text, cut, LineEnds::Keep), text) << cut;
        }
    }
}

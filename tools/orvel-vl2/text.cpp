#include "tools/orvel-vl2/text.h"

#include "storage/utf8.h"
#include "ziplib/codec/lineEnds.h"
#include "ziplib/format/names.h"

#include <algorithm>
#include <array>

namespace vl2 {

namespace {

constexpr std::string_view kMark = "\xEF\xBB\xBF";
constexpr std::size_t kProbe = 4096;

constexpr std::array<std::string_view, 27> kBinary = {
    ".png", ".jpg", ".jpeg", ".bm8", ".bmp", ".gif", ".wav", ".mp3",     ".ogg",
    ".dts", ".dif", ".dsq",  ".ter", ".spn", ".nav", ".dso", ".gft",     ".ml",
    ".zip", ".vl2", ".dll",  ".exe", ".tga", ".psd", ".pal", ".dml.bak", ".ttf"};
constexpr std::array<std::string_view, 9> kText = {".cs",  ".mis", ".gui", ".txt", ".dml",
                                                   ".cfg", ".ifl", ".hfl", ".lmt"};

// Of the bytes from 0x80 to 0x9F; the five that Windows-1252 leaves out stay control characters.
constexpr std::array<char16_t, 32> kUpper = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

template<std::size_t Count>
bool endsInOneOf(const std::array<std::string_view, Count> &extensions, std::string_view path) {
    const std::string name = platform::foldCase(ziplib::lastComponent(path));
    return std::any_of(extensions.begin(), extensions.end(),
                       [&](std::string_view extension) { return name.ends_with(extension); });
}

} // namespace

bool isBinaryName(std::string_view path) {
    return endsInOneOf(kBinary, path);
}

bool isTextName(std::string_view path) {
    return endsInOneOf(kText, path);
}

bool looksLikeText(std::string_view content) {
    return ziplib::looksLikeText(reinterpret_cast<const std::uint8_t *>(content.data()),
                                 std::min(content.size(), kProbe));
}

std::string toUtf8(std::string_view text) {
    if (text.starts_with(kMark))
        text.remove_prefix(kMark.size());
    if (platform::isUtf8(text))
        return std::string(text);
    std::string converted;
    converted.reserve(text.size() + text.size() / 8);
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        const bool upper = byte >= 0x80 && byte < 0xA0;
        platform::appendUtf8(converted, upper ? char32_t{kUpper[byte - 0x80U]} : char32_t{byte});
    }
    return converted;
}

std::vector<std::string_view> linesOf(std::string_view text) {
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size() - 1) + 1;
        lines.push_back(text.substr(0, end));
        text.remove_prefix(end);
    }
    return lines;
}

} // namespace vl2

#include "tools/orvel-vl2/linePattern.h"

#include "tools/orvel-vl2/output.h"

#include <pcre2.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>

namespace vl2 {

namespace {

// Steps for each character of a line at which a match may start. Patterns that people write take
// some tens.
constexpr std::uint32_t kSteps = 1000;
// A line that needs more gets this number divided by its length instead, a few times.
constexpr std::size_t kMoreSteps = 10'000'000;
constexpr int kExpensiveLines = 100;
constexpr std::size_t kLongestLine = 64U << 10;
constexpr std::uint32_t kHeapKiB = 8U << 10;

template<auto Free>
struct Freer {
    template<typename Type>
    void operator()(Type *object) const {
        Free(object);
    }
};

std::string messageOf(int error) {
    std::array<PCRE2_UCHAR, 256> text{};
    pcre2_get_error_message(error, text.data(), text.size());
    return reinterpret_cast<const char *>(text.data());
}

PCRE2_SPTR bytes(std::string_view text) {
    return reinterpret_cast<PCRE2_SPTR>(text.data());
}

// A line without its end, and without what exceeds the length that is searched.
std::string_view searchedPart(std::string_view line) {
    if (line.ends_with('\r'))
        line.remove_suffix(1);
    if (line.size() <= kLongestLine)
        return line;
    std::size_t size = kLongestLine;
    while (size > 0 && (static_cast<unsigned char>(line[size]) & 0xC0U) == 0x80)
        --size; // not within a letter
    return line.substr(0, size);
}

// The position of a plain text from `at`, or npos. Looks for its first, middle and last byte at
// once, in blocks that compilers turn into vector instructions: a single byte is found too often.
std::size_t findPlain(std::string_view text, std::size_t at, std::string_view wanted) {
    constexpr std::size_t kBlock = 128;
    const std::size_t middle = wanted.size() / 2;
    const std::size_t last = wanted.size() - 1;
    const char a = wanted.front();
    const char b = wanted[middle];
    const char c = wanted.back();
    for (; at + last + kBlock <= text.size(); at += kBlock) {
        const char *start = text.data() + at;
        std::uint8_t any = 0;
        for (std::size_t i = 0; i < kBlock; ++i) {
            const bool all = (start[i] == a) & (start[i + middle] == b) & (start[i + last] == c);
            any = static_cast<std::uint8_t>(any | (all ? 1 : 0));
        }
        if (any == 0)
            continue;
        const std::size_t found = text.substr(at, last + kBlock).find(wanted);
        if (found != std::string_view::npos)
            return at + found;
    }
    return text.find(wanted, at);
}

} // namespace

struct LinePattern::Compiled {
    std::unique_ptr<pcre2_code, Freer<pcre2_code_free>> code;
    std::atomic<int> expensiveLines = kExpensiveLines; // that may still follow
};

struct LinePattern::Search::State {
    std::unique_ptr<pcre2_match_data, Freer<pcre2_match_data_free>> match;
    std::unique_ptr<pcre2_match_context, Freer<pcre2_match_context_free>> context;
};

LinePattern::LinePattern(const std::string &pattern, Syntax syntax, Case letters)
    : m_compiled(std::make_unique<Compiled>()) {
    const char *special = syntax == Syntax::Fixed ? "\r\n" : "\r\n\\^$.|?*+()[]{}";
    if (!pattern.empty() && letters == Case::Sensitive &&
        pattern.find_first_of(special) == std::string::npos) {
        m_plain = pattern;
        return;
    }
    std::uint32_t options = PCRE2_UTF;
    options |= syntax == Syntax::Fixed ? PCRE2_LITERAL : PCRE2_NEVER_BACKSLASH_C;
    options |= letters == Case::Ignored ? PCRE2_CASELESS : 0;
    int error = 0;
    std::size_t where = 0;
    m_compiled->code.reset(
        pcre2_compile(bytes(pattern), pattern.size(), options, &error, &where, nullptr));
    if (!m_compiled->code)
        throw Failed(Exit::Misuse, "the pattern is wrong at character " +
                                       std::to_string(where + 1) + ": " + messageOf(error));
}

LinePattern::~LinePattern() = default;

LinePattern::Search::Search(const LinePattern &pattern)
    : m_pattern(pattern), m_state(std::make_unique<State>()) {
    if (!pattern.m_compiled->code)
        return;
    m_state->match.reset(pcre2_match_data_create(1, nullptr));
    m_state->context.reset(pcre2_match_context_create(nullptr));
    if (!m_state->match || !m_state->context)
        throw std::bad_alloc();
    pcre2_set_heap_limit(m_state->context.get(), kHeapKiB);
}

LinePattern::Search::~Search() = default;

bool LinePattern::Search::matches(std::string_view line) {
    const auto search = [&](std::size_t steps) {
        pcre2_set_match_limit(m_state->context.get(), static_cast<std::uint32_t>(steps));
        // The text is valid: the whole of it has been checked or converted.
        return pcre2_match(m_pattern.m_compiled->code.get(), bytes(line), line.size(), 0,
                           PCRE2_NO_UTF_CHECK, m_state->match.get(), m_state->context.get());
    };
    int result = search(kSteps);
    const std::size_t more = kMoreSteps / (line.size() + 1);
    if (result == PCRE2_ERROR_MATCHLIMIT && more > kSteps &&
        m_pattern.m_compiled->expensiveLines.fetch_sub(1) > 0)
        result = search(more);
    if (result < 0 && result != PCRE2_ERROR_NOMATCH)
        throw Failed(Exit::Misuse, "the pattern takes too long: " + messageOf(result));
    return result >= 0;
}

std::size_t LinePattern::Search::find(std::string_view text, std::size_t at) {
    const std::string &plain = m_pattern.m_plain;
    while (!plain.empty()) {
        const std::size_t found = findPlain(text, at, plain);
        if (found == std::string_view::npos)
            return found;
        const std::size_t start = found == 0 ? 0 : text.rfind('\n', found - 1) + 1;
        if (found + plain.size() - start <= kLongestLine)
            return found;
        at = std::min(text.find('\n', found), text.size());
    }
    while (at < text.size()) {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        if (matches(searchedPart(text.substr(at, end - at))))
            return at;
        at = end + 1;
    }
    return std::string_view::npos;
}

} // namespace vl2

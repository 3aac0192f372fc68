#include "tools/orvel-vl2/textDiff.h"

#include "tools/orvel-vl2/text.h"

#include <algorithm>
#include <vector>

namespace vl2 {

namespace {

using Lines = std::vector<std::string_view>;

constexpr std::size_t kContext = 3;
// Beyond this many changed lines the search, which takes the square of it, is given up.
constexpr int kMostChanges = 4000;

// One line of the result: of both texts, or of one.
struct Step {
    char sign = ' ';
    std::size_t oldLine = 0;
    std::size_t newLine = 0;
};

// The greedy algorithm of Myers: for each number of changes, how far each diagonal reaches.
std::vector<Step> steps(const Lines &a, const Lines &b) {
    std::size_t head = 0;
    while (head < a.size() && head < b.size() && a[head] == b[head])
        ++head;
    std::size_t tail = 0;
    while (tail < a.size() - head && tail < b.size() - head &&
           a[a.size() - 1 - tail] == b[b.size() - 1 - tail])
        ++tail;
    const auto rows = static_cast<int>(a.size() - head - tail);
    const auto columns = static_cast<int>(b.size() - head - tail);
    const auto oldAt = [&](int i) { return a[head + static_cast<std::size_t>(i)]; };
    const auto newAt = [&](int i) { return b[head + static_cast<std::size_t>(i)]; };
    const int limit = std::min(rows + columns, kMostChanges);
    std::vector<std::vector<int>> reached; // of the diagonals -d to d, before step d
    std::vector<int> furthest(2 * static_cast<std::size_t>(limit) + 3, 0);
    const auto at = [&](int k) -> int & {
        return furthest[static_cast<std::size_t>(k) + static_cast<std::size_t>(limit) + 1];
    };
    int changes = -1;
    for (int d = 0; d <= limit && changes < 0; ++d) {
        reached.emplace_back(furthest.begin() + (limit + 1 - d - 1),
                             furthest.begin() + (limit + 1 + d + 2));
        for (int k = -d; k <= d; k += 2) {
            int x = k == -d || (k != d && at(k - 1) < at(k + 1)) ? at(k + 1) : at(k - 1) + 1;
            while (x < rows && x - k < columns && oldAt(x) == newAt(x - k))
                ++x;
            at(k) = x;
            if (x >= rows && x - k >= columns) {
                changes = d;
                break;
            }
        }
    }
    std::vector<Step> middle; // from the end
    int x = rows;
    int y = columns;
    for (int d = changes; d > 0; --d) {
        const auto &before = reached[static_cast<std::size_t>(d)];
        const auto was = [&](int k) {
            return before[static_cast<std::size_t>(k) + static_cast<std::size_t>(d) + 1];
        };
        const int k = x - y;
        const bool added = k == -d || (k != d && was(k - 1) < was(k + 1));
        const int fromX = was(added ? k + 1 : k - 1);
        const int fromY = fromX - (added ? k + 1 : k - 1);
        for (; x > fromX && y > fromY; --x, --y)
            middle.push_back({' ', head + static_cast<std::size_t>(x - 1),
                              head + static_cast<std::size_t>(y - 1)});
        middle.push_back({added ? '+' : '-', head + static_cast<std::size_t>(added ? x : x - 1),
                          head + static_cast<std::size_t>(added ? y - 1 : y)});
        (added ? y : x) -= 1;
    }
    std::vector<Step> all;
    for (std::size_t i = 0; i < head + static_cast<std::size_t>(changes >= 0 ? x : 0); ++i)
        all.push_back({' ', i, i});
    all.insert(all.end(), middle.rbegin(), middle.rend());
    if (changes < 0) {
        for (std::size_t i = 0; i < static_cast<std::size_t>(rows); ++i)
            all.push_back({'-', head + i, head});
        for (std::size_t i = 0; i < static_cast<std::size_t>(columns); ++i)
            all.push_back({'+', head + static_cast<std::size_t>(rows), head + i});
    }
    for (std::size_t i = tail; i > 0; --i)
        all.push_back({' ', a.size() - i, b.size() - i});
    return all;
}

std::string range(std::size_t start, std::size_t count) {
    std::string text = std::to_string(count == 0 ? start : start + 1);
    return count == 1 ? text : text + ',' + std::to_string(count);
}

// A name in a header: with a tab behind it if it holds a blank, and in quotes if it holds control
// characters, as patch and git read it.
std::string headerName(std::string_view name) {
    std::string text;
    bool quoted = false;
    for (const char c : name) {
        const auto byte = static_cast<unsigned char>(c);
        const bool control = byte < 0x20 || byte == 0x7F;
        quoted = quoted || control || c == '"' || c == '\\';
        if (control) {
            text += '\\';
            for (const unsigned shift : {6U, 3U, 0U})
                text += static_cast<char>('0' + (byte >> shift & 7U));
        } else {
            text.append(c == '"' || c == '\\' ? "\\" : "") += c;
        }
    }
    if (quoted)
        return '"' + text + '"';
    return name.find(' ') != std::string_view::npos ? text + '\t' : text;
}

} // namespace

std::string unifiedDiff(std::string_view oldName, std::string_view oldText,
                        std::string_view newName, std::string_view newText) {
    const Lines a = linesOf(oldText);
    const Lines b = linesOf(newText);
    const std::vector<Step> all = steps(a, b);
    std::string out;
    for (std::size_t i = 0; i < all.size();) {
        if (all[i].sign == ' ') {
            ++i;
            continue;
        }
        // A hunk ends where more than twice the context follows unchanged.
        const std::size_t first = i > kContext ? i - kContext : 0;
        std::size_t last = i;
        for (std::size_t j = i; j < all.size() && j - last <= 2 * kContext; ++j)
            if (all[j].sign != ' ')
                last = j;
        const std::size_t end = std::min(last + 1 + kContext, all.size());
        std::size_t oldCount = 0;
        std::size_t newCount = 0;
        std::string lines;
        for (std::size_t j = first; j < end; ++j) {
            oldCount += all[j].sign != '+' ? 1 : 0;
            newCount += all[j].sign != '-' ? 1 : 0;
            lines += all[j].sign;
            const std::string_view line =
                all[j].sign == '+' ? b[all[j].newLine] : a[all[j].oldLine];
            lines += line;
            lines += line.ends_with('\n') ? "" : "\n\\ No newline at end of file\n";
        }
        if (out.empty())
            out += "--- " + headerName(oldName) + "\n+++ " + headerName(newName) + '\n';
        out += "@@ -" + range(all[first].oldLine, oldCount) + " +" +
               range(all[first].newLine, newCount) + " @@\n" + lines;
        i = end;
    }
    return out;
}

} // namespace vl2

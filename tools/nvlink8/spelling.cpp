// Words are compared by the slips that lead from one to the other: a character that is wrong,
// missing or too many, and two that have changed places.
#include "nvlink8/spelling.h"

#include <algorithm>
#include <vector>

// The number of slips, or a number above `max`.
static size_t slips_between(std::string_view a, std::string_view b, size_t max)
{
    std::vector<size_t> two_above(b.size() + 1);
    std::vector<size_t> above(b.size() + 1);
    std::vector<size_t> row(b.size() + 1);
    for (size_t j = 0; j <= b.size(); ++j)
        row[j] = j;
    for (size_t i = 1; i <= a.size(); ++i) {
        two_above.swap(above);
        above.swap(row);
        row[0] = i;
        for (size_t j = 1; j <= b.size(); ++j) {
            const size_t changed = above[j - 1] + (a[i - 1] != b[j - 1]);
            row[j] = std::min({changed, above[j] + 1, row[j - 1] + 1});
            const bool swapped = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
            if (swapped)
                row[j] = std::min(row[j], two_above[j - 2] + 1);
        }
        // A swap looks back over two rows.
        if (*std::min_element(row.begin(), row.end()) > max &&
            *std::min_element(above.begin(), above.end()) > max)
            return max + 1;
    }
    return row[b.size()];
}

std::string_view nearest_word(std::string_view wanted, std::span<const std::string_view> words)
{
    size_t best = std::max<size_t>(1, wanted.size() / 4) + 1;
    std::string_view found;
    for (const std::string_view word : words) {
        const size_t longer = std::max(word.size(), wanted.size());
        const size_t shorter = std::min(word.size(), wanted.size());
        if (longer - shorter > best)
            continue;
        const size_t slips = slips_between(wanted, word, best);
        if (slips < best || (slips == best && !found.empty() && word < found)) {
            best = slips;
            found = word;
        }
    }
    return found;
}

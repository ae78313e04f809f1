// The distance is that of Damerau and Levenshtein in its simple form (a pair once swapped isn't
// edited again), with three rows of its table at hand.

#include "explain/near_names.h"

#include "base/number.h"
#include <algorithm>
#include <array>
#include <utility>

constexpr size_t NAMES_MAX = 3;

// What is spent on large tables, in names; one whose distance is computed counts as many. It takes
// some tenths of a second.
constexpr uint64_t EFFORT_MAX = 10'000'000;
constexpr uint64_t DISTANCE_EFFORT = 16;
static uint64_t effort;

// Longer names are compared by their heads.
constexpr size_t COMPARED_MAX = 64;

static bool is_same_letter(char left, char right)
{
    return lower_case(left) == lower_case(right);
}

bool differs_in_case(std::string_view name, std::string_view other)
{
    return name != other && std::ranges::equal(name, other, is_same_letter);
}

size_t name_distance(std::string_view name, std::string_view other)
{
    effort += DISTANCE_EFFORT;
    name = name.substr(0, COMPARED_MAX);
    other = other.substr(0, COMPARED_MAX);
    using Row = std::array<size_t, COMPARED_MAX + 1>;
    Row above{};
    Row last{};
    Row row{};
    for (size_t j = 0; j <= other.size(); ++j)
        row[j] = j;
    for (size_t i = 1; i <= name.size(); ++i) {
        above = last;
        last = row;
        row[0] = i;
        for (size_t j = 1; j <= other.size(); ++j) {
            const bool same = is_same_letter(name[i - 1], other[j - 1]);
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (same ? 0 : 1)});
            const bool swapped = i > 1 && j > 1 && is_same_letter(name[i - 1], other[j - 2]) &&
                                 is_same_letter(name[i - 2], other[j - 1]);
            if (swapped)
                row[j] = std::min(row[j], above[j - 2] + 1);
        }
    }
    return row[other.size()];
}

// The parts of a name between underscores, in order: init_uart and uart_init have the same.
static std::vector<std::string> parts_of(std::string_view name)
{
    std::vector<std::string> parts(1);
    for (const char c : name) {
        if (c == '_')
            parts.emplace_back();
        else
            parts.back() += lower_case(c);
    }
    std::ranges::sort(parts);
    return parts;
}

bool is_near(std::string_view name, std::string_view other)
{
    const size_t length = std::min(name.size(), other.size());
    size_t limit = 3;
    if (length < 3)
        limit = 0;
    else if (length < 5)
        limit = 1;
    else if (length < 9)
        limit = 2;
    const size_t difference = std::max(name.size(), other.size()) - length;
    if (name == other)
        return false;
    return (difference <= limit && name_distance(name, other) <= limit) ||
           (difference == 0 && parts_of(name) == parts_of(other));
}

// What is worse about a candidate comes first: the distance, then another first letter.
static size_t badness(std::string_view name, std::string_view candidate)
{
    const bool same_start = is_same_letter(name.front(), candidate.front());
    return 2 * name_distance(name, candidate) + (same_start ? 0 : 1);
}

std::vector<std::string> near_names(std::string_view name, const Candidates &candidates)
{
    std::vector<std::pair<size_t, std::string>> near;
    for (const std::string_view candidate : candidates) {
        if (!name.empty() && !candidate.empty() && is_near(name, candidate))
            near.emplace_back(badness(name, candidate), candidate);
    }
    std::ranges::sort(near);
    near.erase(std::unique(near.begin(), near.end()), near.end());
    std::vector<std::string> names;
    for (const auto &[badness_of_name, candidate] : near) {
        // Next to a name that is one slip away, one that is three away is no help; next to one that
        // differs in case, none is.
        const size_t best = near.front().first;
        if (names.size() < NAMES_MAX && badness_of_name <= (best == 0 ? 0 : best + 2))
            names.push_back(candidate);
    }
    return names;
}

std::vector<std::string> near_names(std::string_view name,
                                    const std::vector<std::string> &candidates)
{
    return near_names(name, Candidates(candidates.begin(), candidates.end()));
}

std::vector<std::string> near_names_of_many(std::string_view name, size_t count,
                                            const std::function<Candidates()> &choose)
{
    if (effort > EFFORT_MAX)
        return {};
    effort += count;
    return near_names(name, choose());
}

std::string did_you_mean(const std::vector<std::string> &names)
{
    std::string text;
    for (size_t i = 0; i < names.size(); ++i) {
        if (i != 0)
            text += i + 1 == names.size() ? " or " : ", ";
        text += names[i];
    }
    return text.empty() ? text : "did you mean " + text + "?";
}

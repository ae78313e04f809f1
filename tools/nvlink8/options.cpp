// Questions that several stages ask of the options.
#include "nvlink8/options.h"

#include <algorithm>
#include <string_view>

const Region *find_region(const Options &options, const std::string &name)
{
    for (const Region &region : options.regions) {
        if (region.name == name)
            return &region;
    }
    return nullptr;
}

const Region *region_at(const Options &options, uint32_t address)
{
    for (const Region &region : options.regions) {
        if (address >= region.range.first && address <= region.range.last)
            return &region;
    }
    return nullptr;
}

// On a mismatch after a "*" the star takes one character more; only the last star ever has to be
// tried again.
static bool matches(std::string_view name, std::string_view pattern)
{
    size_t n = 0;
    size_t p = 0;
    size_t star = std::string_view::npos;
    size_t star_name = 0;
    while (n < name.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            star = p++;
            star_name = n;
        } else if (p < pattern.size() && (pattern[p] == '?' || pattern[p] == name[n])) {
            ++p;
            ++n;
        } else if (star != std::string_view::npos) {
            p = star + 1;
            n = ++star_name;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == '*')
        ++p;
    return p == pattern.size();
}

// A file goes by its path, by the end of its path, or, a member of an archive, by its own name too.
static bool file_matches(std::string_view file, std::string_view pattern)
{
    if (matches(file, pattern))
        return true;
    const size_t member = file.rfind('(');
    if (file.ends_with(')') && member != std::string_view::npos) {
        const std::string_view inner = file.substr(member + 1, file.size() - member - 2);
        if (matches(inner, pattern))
            return true;
    }
    for (size_t at = file.find('/'); at != std::string_view::npos; at = file.find('/', at + 1)) {
        if (matches(file.substr(at + 1), pattern))
            return true;
    }
    return false;
}

bool pattern_matches(const SectionPattern &pattern, const std::string &file,
                     const std::string &section)
{
    return matches(section, pattern.section) &&
           (pattern.file.empty() || file_matches(file, pattern.file));
}

bool any_pattern_matches(const std::vector<SectionPattern> &patterns, const std::string &file,
                         const std::string &section)
{
    return std::any_of(patterns.begin(), patterns.end(), [&](const SectionPattern &pattern) {
        return pattern_matches(pattern, file, section);
    });
}

// Questions that several stages ask of the options.
#include "nvlink8/options.h"

#include "base/host.h"
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

// A file goes by its path, by the end of its path, or, a member of an archive, by its own name too.
static bool file_matches(std::string_view file, std::string_view pattern)
{
    if (matches_pattern(file, pattern))
        return true;
    const size_t member = file.rfind('(');
    if (file.ends_with(')') && member != std::string_view::npos) {
        const std::string_view inner = file.substr(member + 1, file.size() - member - 2);
        if (matches_pattern(inner, pattern))
            return true;
    }
    for (size_t at = file.find('/'); at != std::string_view::npos; at = file.find('/', at + 1)) {
        if (matches_pattern(file.substr(at + 1), pattern))
            return true;
    }
    return false;
}

bool pattern_matches(const SectionPattern &pattern, const std::string &file,
                     const std::string &section)
{
    return matches_pattern(section, pattern.section) &&
           (pattern.file.empty() || file_matches(file, pattern.file));
}

bool any_pattern_matches(const std::vector<SectionPattern> &patterns, const std::string &file,
                         const std::string &section)
{
    return std::any_of(patterns.begin(), patterns.end(), [&](const SectionPattern &pattern) {
        return pattern_matches(pattern, file, section);
    });
}

// The index that `ar` may put ahead is not used: it knows nothing of this object format, and what a
// member defines stands in the member.
#include "nvlink8/archive.h"

#include "nvlink8/messages.h"
#include <charconv>
#include <optional>
#include <string_view>

static constexpr std::string_view MAGIC = "!<arch>\n";
static constexpr std::string_view THIN_MAGIC = "!<thin>\n";

// The head of a member: name, four numbers that don't matter here, size, end mark.
static constexpr size_t HEAD_SIZE = 60;
static constexpr size_t NAME_SIZE = 16;
static constexpr size_t SIZE_AT = 48;
static constexpr size_t SIZE_SIZE = 10;
static constexpr size_t END_AT = 58;

static std::string_view view(std::span<const uint8_t> bytes)
{
    return {reinterpret_cast<const char *>(bytes.data()), bytes.size()};
}

bool is_archive(std::span<const uint8_t> bytes)
{
    return view(bytes).starts_with(MAGIC) || view(bytes).starts_with(THIN_MAGIC);
}

static std::string_view trimmed(std::string_view field)
{
    const size_t last = field.find_last_not_of(' ');
    return last == std::string_view::npos ? "" : field.substr(0, last + 1);
}

static std::optional<size_t> decimal(std::string_view field)
{
    size_t value = 0;
    const auto [end, error] = std::from_chars(field.begin(), field.end(), value);
    if (error != std::errc() || end != field.end())
        return std::nullopt;
    return value;
}

// A walk over the members.
struct ArchiveWalk {
    std::span<const uint8_t> bytes;
    std::vector<std::string> &problems;
    std::string_view long_names; // GNU: the table that "/12" points into
    size_t at = MAGIC.size();
};

// The name of a member by its field in the head. A BSD name stands ahead of the contents and is
// taken off them. Nothing if it can't be found.
static std::optional<std::string> member_name(const ArchiveWalk &walk, std::string_view field,
                                              std::span<const uint8_t> *contents)
{
    if (field.starts_with("#1/")) {
        const auto length = decimal(field.substr(3));
        if (!length || *length > contents->size())
            return std::nullopt;
        const std::string_view name = view(contents->first(*length));
        *contents = contents->subspan(*length);
        return std::string(name.substr(0, name.find('\0')));
    }
    if (field.size() > 1 && field[0] == '/' && field[1] >= '0' && field[1] <= '9') {
        const auto offset = decimal(field.substr(1));
        if (!offset || *offset >= walk.long_names.size())
            return std::nullopt;
        const std::string_view name = walk.long_names.substr(*offset);
        return std::string(name.substr(0, name.find_first_of("/\n")));
    }
    if (field.size() > 1 && field.ends_with('/'))
        field.remove_suffix(1);
    return std::string(field);
}

static bool is_index(std::string_view name)
{
    return name == "/" || name == "/SYM64/" || name == "__.SYMDEF" || name == "__.SYMDEF SORTED" ||
           name == "__.SYMDEF/";
}

// Takes the member at the walk's place. False, with the reason reported, when no other can be found
// behind it.
static bool read_member(ArchiveWalk *walk, std::vector<ArchiveMember> *members)
{
    const size_t at = walk->at;
    if (walk->bytes.size() - at < HEAD_SIZE) {
        walk->problems.push_back(text("the head of a member at 0x%zx is cut off", at));
        return false;
    }
    const std::string_view head = view(walk->bytes.subspan(at, HEAD_SIZE));
    const auto size = decimal(trimmed(head.substr(SIZE_AT, SIZE_SIZE)));
    if (head.substr(END_AT) != "`\n" || !size) {
        walk->problems.push_back(text("there is no head of a member at 0x%zx", at));
        return false;
    }
    if (*size > walk->bytes.size() - at - HEAD_SIZE) {
        walk->problems.push_back(
            text("the member at 0x%zx has %zu bytes and reaches beyond the file", at, *size));
        return false;
    }
    std::span<const uint8_t> contents = walk->bytes.subspan(at + HEAD_SIZE, *size);
    walk->at = at + HEAD_SIZE + *size + (*size & 1);
    const std::string_view field = trimmed(head.substr(0, NAME_SIZE));
    if (field == "//") {
        walk->long_names = view(contents);
        return true;
    }
    if (is_index(field))
        return true;
    const auto name = member_name(*walk, field, &contents);
    if (!name)
        walk->problems.push_back(text("the member at 0x%zx has no name", at));
    else if (!is_index(*name))
        members->push_back({*name, contents});
    return true;
}

std::vector<ArchiveMember> read_archive(std::span<const uint8_t> bytes,
                                        std::vector<std::string> *problems)
{
    std::vector<ArchiveMember> members;
    if (view(bytes).starts_with(THIN_MAGIC)) {
        problems->emplace_back("a thin archive, which has only the names of its members; make it "
                               "without T");
        return members;
    }
    ArchiveWalk walk{bytes, *problems, {}};
    while (walk.at < bytes.size() && read_member(&walk, &members)) {
    }
    return members;
}

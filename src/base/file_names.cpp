// Object and listing names come from the source name by exchanging everything after the last dot.
// The whole name is searched for it, directories included: a source without an extension below a
// directory with a dot loses the tail of its path, and makefiles have come to rely on it.

#include "base/file_names.h"

#include "base/memory.h"
#include "base/settings.h"
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

const char *source_file_name;
const char *object_file_name;
const char *listing_file_name;
char time_stamp[20];

// The blocks that hold the two names.
static char *derived_object_name;
static char *derived_listing_name;

constexpr size_t TIME_STAMP_LENGTH = 17;

// A decimal number in SOURCE_DATE_EPOCH, for builds that must be reproducible. Anything else there
// is ignored.
static bool read_source_date(std::time_t *moment)
{
    const char *text = std::getenv("SOURCE_DATE_EPOCH");
    if (text == nullptr || std::strspn(text, "0123456789") != std::strlen(text) || *text == '\0')
        return false;
    *moment = static_cast<std::time_t>(std::strtoll(text, nullptr, 10));
    return true;
}

static void form_time_stamp()
{
    if (time_stamp[0] != '\0')
        return;
    std::time_t moment;
    const bool fixed = read_source_date(&moment);
    if (!fixed)
        moment = std::time(nullptr);
    const std::tm *fields = fixed ? std::gmtime(&moment) : std::localtime(&moment);
    if (fields == nullptr || fields->tm_year > 9999 - 1900) {
        moment = 0;
        fields = std::gmtime(&moment);
    }
    static const char month_names[12][4] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                            "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    char text[64];
    std::snprintf(text, sizeof text, "%2d %s %d %02d:%02d", fields->tm_mday,
                  month_names[fields->tm_mon], fields->tm_year + 1900, fields->tm_hour,
                  fields->tm_min);
    std::memcpy(time_stamp, text, TIME_STAMP_LENGTH);
}

// `name` with everything from its last dot on replaced by `extension`.
static std::string with_extension(const std::string &name, const char *extension)
{
    return name.substr(0, name.rfind('.')) + extension;
}

std::string object_name_of(const char *source)
{
    return settings.output_file_name != nullptr ? settings.output_file_name
                                                : with_extension(source, ".o");
}

std::string listing_name_of(const char *source)
{
    return settings.listing_name_option != nullptr ? settings.listing_name_option
                                                   : with_extension(object_name_of(source), ".ls");
}

static char *copy_name(const std::string &name)
{
    return copy_text(name);
}

static void forget_file_names()
{
    free_block(derived_object_name);
    free_block(derived_listing_name);
    derived_object_name = nullptr;
    derived_listing_name = nullptr;
    object_file_name = nullptr;
    listing_file_name = nullptr;
}

void derive_file_names()
{
    form_time_stamp();
    forget_file_names();

    derived_object_name = copy_name(object_name_of(source_file_name));
    object_file_name = derived_object_name;

    if (!settings.listing_enabled)
        return;
    derived_listing_name = copy_name(listing_name_of(source_file_name));
    listing_file_name = derived_listing_name;
}

const char *without_directory(const char *name)
{
    const char *start = name;
    for (const char *c = name; *c != '\0'; ++c) {
        if (*c == '/' || *c == '\\')
            start = c + 1;
    }
    return start;
}

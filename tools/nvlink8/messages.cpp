// Messages are finished texts: whoever finds a fault knows best where it stands and what helps.
#include "nvlink8/messages.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

static std::string formatted(const char *format, va_list arguments)
{
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    std::string result(length > 0 ? static_cast<size_t>(length) : 0, '\0');
    std::vsnprintf(result.data(), result.size() + 1, format, arguments);
    return result;
}

std::string text(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    std::string result = formatted(format, arguments);
    va_end(arguments);
    return result;
}

void add_error(Messages *messages, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    messages->errors.push_back(formatted(format, arguments));
    va_end(arguments);
}

void add_warning(Messages *messages, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    messages->warnings.push_back(formatted(format, arguments));
    va_end(arguments);
}

void add_note(Messages *messages, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    messages->notes.push_back(formatted(format, arguments));
    va_end(arguments);
}

static void print_list(const char *what, const std::vector<std::string> &list)
{
    const size_t printed = std::min(list.size(), MESSAGES_PRINTED_MAX);
    for (size_t i = 0; i < printed; ++i)
        std::fprintf(stderr, "nvlink8: %s: %s\n", what, list[i].c_str());
    if (printed < list.size())
        std::fprintf(stderr, "nvlink8: %zu %ss more are not shown\n", list.size() - printed, what);
}

void print_messages(const Messages &messages, bool verbose)
{
    if (verbose) {
        for (const std::string &note : messages.notes)
            std::printf("%s\n", note.c_str());
        std::fflush(stdout);
    }
    print_list("warning", messages.warnings);
    print_list("error", messages.errors);
}

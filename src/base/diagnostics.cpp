// Errors are remembered while a line is read and printed when it is done: nothing is thrown, a
// statement goes on after an error, and only the first error of a line is printed. Whether an
// object file comes into being, and the exit status, follow from error_count alone.

#include "base/diagnostics.h"

#include "base/byte_stream.h"
#include "base/file_names.h"
#include "base/memory.h"
#include "base/pass_state.h"
#include "base/position.h"
#include "base/settings.h"
#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <string>

// Where diagnostics go as they come, null while they are gathered for the file of +e.
static std::FILE *error_stream = stderr;
static ByteStream gathered_errors = {nullptr, &gathered_errors.head, nullptr, 0};

// The error of the current line; no message means none. A text in the line buffer or in the string
// token is shown as it stands there when the line is done, which a later token of the line or a
// search of the include list may have changed. Other lines may be gone by then: the text is a copy.
struct PendingError {
    const char *message;
    std::string_view text;
    std::string copy;
};
static PendingError pending_error;

uint32_t recorded_errors;

static std::array<std::span<const char>, 2> changing_buffers;

static bool messages_held;
static std::string held_messages;

void send_diagnostics_to(std::FILE *stream)
{
    error_stream = stream;
}

void gather_diagnostics()
{
    error_stream = nullptr;
}

const ByteStream &gathered_diagnostics()
{
    return gathered_errors;
}

void drop_gathered_diagnostics()
{
    reset_stream(&gathered_errors);
}

// A message takes a counted text exactly when its format holds a "*".
static bool takes_length(const char *message)
{
    return std::strchr(message, '*') != nullptr;
}

void set_changing_buffers(std::span<const char> first, std::span<const char> second)
{
    changing_buffers = {first, second};
}

static bool may_change(const char *text)
{
    return std::ranges::any_of(changing_buffers, [text](std::span<const char> buffer) {
        return std::less_equal<>()(buffer.data(), text) &&
               std::less<>()(text, buffer.data() + buffer.size());
    });
}

void record_error(const char *message, std::string_view text)
{
    if (pass_number == 0 || pending_error.message != nullptr)
        return;
    ++recorded_errors;
    pending_error.message = message;
    pending_error.text = text;
    if (text.data() == nullptr || may_change(text.data()))
        return;
    pending_error.copy = text.substr(0, text.find('\0'));
    pending_error.text = pending_error.copy;
}

void force_error(const char *message, std::string_view text)
{
    ++pass_number;
    record_error(message, text);
    --pass_number;
}

bool error_pending()
{
    return pending_error.message != nullptr;
}

// The text of a message.
static std::string message_text(const char *message, std::string_view text)
{
    const bool counted = takes_length(message);
    const auto print = [&](char *room, size_t size) {
        return counted
                   ? std::snprintf(room, size, message, static_cast<int>(text.size()), text.data())
                   : std::snprintf(room, size, message, text.data());
    };
    std::string result(static_cast<size_t>(print(nullptr, 0)) + 1, '\0');
    print(result.data(), result.size());
    result.pop_back();
    return result;
}

std::string pending_text()
{
    return message_text(pending_error.message, pending_error.text);
}

static void print_diagnostic(const std::string &line)
{
    if (messages_held)
        held_messages += line;
    else if (error_stream != nullptr)
        std::fputs(line.c_str(), error_stream);
    else
        stream_put_text(&gathered_errors, line);
}

void hold_messages()
{
    messages_held = true;
    set_exhaustion_hook(release_messages);
}

void drop_messages()
{
    messages_held = false;
    set_exhaustion_hook(nullptr);
    held_messages.clear();
}

void release_messages()
{
    const std::string messages_now = held_messages;
    drop_messages();
    print_diagnostic(messages_now);
}

static std::string error_head(const char *file, uint32_t line)
{
    return std::string("#error ") + settings.program_name + ' ' + file + ':' +
           std::to_string(static_cast<int32_t>(line)) + '\t';
}

static void print_error_line(const std::string &text)
{
    const SourcePosition position = source_position();
    const std::string head = settings.eclipse_style
                                 ? std::string(position.file) + ':' +
                                       std::to_string(static_cast<int32_t>(position.line)) + ":1: "
                                 : error_head(position.file, position.line);
    print_diagnostic(head + text + '\n');
}

static bool settle_error(bool prints)
{
    if (!error_pending())
        return false;
    // A pass that will be repeated is void: an error that is real comes back in the next one.
    if (!pass_must_repeat) {
        if (prints)
            print_error_line(pending_text());
        ++error_count;
    }
    pending_error = {};
    return true;
}

bool flush_error()
{
    return settle_error(true);
}

void flush_listed_error()
{
    settle_error(settings.opt_no_branch_opt != 0);
}

void report_at_line(const char *message, const char *text)
{
    print_error_line(message_text(message, text));
    ++error_count;
}

void report_without_line(const char *message, const char *text)
{
    print_diagnostic(message_text(message, text) + '\n');
    ++error_count;
}

void print_file_error_prefix(const char *file)
{
    if (settings.eclipse_style)
        std::fprintf(stderr, "%s:1 ", file);
    else
        std::fprintf(stderr, "#error %s %s:0 ", settings.program_name, file);
}

void print_direct_error(const char *file, uint32_t line, const char *message, std::string_view text)
{
    print_diagnostic(error_head(file, line) + message_text(message, text) + '\n');
    ++error_count;
}

// Errors are remembered while a line is read and printed when it is done: nothing is thrown, a
// statement goes on after an error, and only the first error of a line is told. Whether an object
// file comes into being, and the exit status, follow from error_count alone.

#include "listing/diagnostics.h"

#include "driver/file_names.h"
#include "driver/memory.h"
#include "driver/passes.h"
#include "driver/settings.h"
#include "expr/lexer.h"
#include "input/input_stack.h"
#include "listing/listing.h"
#include "output/byte_stream.h"
#include <algorithm>
#include <cstring>
#include <functional>
#include <string>

// Some entries are kept for targets with other operands; nothing raises them here.
const char *const messages[MESSAGE_COUNT] = {
    "can't open %s",
    "can't create %s",
    "bad comment delimiter",
    "unknown instruction %.*s",
    "symbol %.*s multiply defined",
    "missing label",
    "relocatable expression not allowed",
    "bad relocatable expression",
    "symbol %.*s not defined",
    "bad symbol name: %.*s",
    "syntax error",
    "bad constant",
    "zero divide",
    "bad index register",
    "value too large",
    "missing operand",
    "bad addressing mode",
    "missing string",
    "bad register",
    "missing register",
    "section number not assigned",
    "section number already assigned",
    "invalid bit number",
    "invalid bit definition",
    "invalid bit address",
    "too many sections",
    "path too long: %.*s...",
};

int32_t error_count;
std::FILE *error_stream = stderr;
ByteStream gathered_errors = {nullptr, &gathered_errors.head, nullptr, 0};
const char *line_directive_file;
uint32_t line_directive_bias;

// The error of the current line; no message means none. A text in the line buffer or in the string
// token is shown as it stands there when the line is done, which a later token of the line or a
// search of the include list may have changed. Other lines may be gone by then: the text is a copy.
struct PendingError {
    const char *message;
    uint32_t length;
    const char *text;
    std::string copy;
};
static PendingError pending_error;

static bool messages_held;
static std::string held_messages;

SourcePosition source_position()
{
    if (line_directive_file != nullptr)
        return {line_directive_file, line_ordinal - line_directive_bias};
    return {current_file_name(), current_line()};
}

// A message takes a counted text exactly when its format holds a "*".
static bool takes_length(const char *message)
{
    return std::strchr(message, '*') != nullptr;
}

template <size_t Size> static bool is_within(const char *text, const char (&buffer)[Size])
{
    return std::less_equal<>()(buffer, text) && std::less<>()(text, buffer + Size);
}

void record_error(const char *message, uint32_t length, const char *text)
{
    if (pass_number == 0 || pending_error.message != nullptr)
        return;
    pending_error.message = message;
    pending_error.length = length;
    pending_error.text = text;
    if (text == nullptr || is_within(text, line_buffer) || is_within(text, token_string))
        return;
    const char *end = text + std::strlen(text);
    if (takes_length(message))
        end = std::find(text, text + length, '\0');
    pending_error.copy.assign(text, end);
    pending_error.text = pending_error.copy.c_str();
}

void record_error(MessageIndex message)
{
    record_error(messages[message], 0, nullptr);
}

void force_error(const char *message, uint32_t length, const char *text)
{
    ++pass_number;
    record_error(message, length, text);
    --pass_number;
}

void force_error(MessageIndex message)
{
    force_error(messages[message], 0, nullptr);
}

bool error_pending()
{
    return pending_error.message != nullptr;
}

// The text of a message.
static std::string message_text(const char *message, uint32_t length, const char *text)
{
    const bool counted = takes_length(message);
    const auto print = [&](char *room, size_t size) {
        return counted ? std::snprintf(room, size, message, static_cast<int>(length), text)
                       : std::snprintf(room, size, message, text);
    };
    std::string result(static_cast<size_t>(print(nullptr, 0)) + 1, '\0');
    print(result.data(), result.size());
    result.pop_back();
    return result;
}

static std::string pending_text()
{
    return message_text(pending_error.message, pending_error.length, pending_error.text);
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
    exhaustion_hook = release_messages;
}

void drop_messages()
{
    messages_held = false;
    exhaustion_hook = nullptr;
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
    return std::string("#error ") + program_name + ' ' + file + ':' +
           std::to_string(static_cast<int32_t>(line)) + '\t';
}

static void print_error_line(const std::string &text)
{
    const SourcePosition position = source_position();
    const std::string head = eclipse_style
                                 ? std::string(position.file) + ':' +
                                       std::to_string(static_cast<int32_t>(position.line)) + ":1: "
                                 : error_head(position.file, position.line);
    print_diagnostic(head + text + '\n');
}

int32_t flush_error(ByteStream *listing)
{
    if (!error_pending())
        return 0;
    // A pass that will be repeated is void: an error that is real comes back in the next one.
    if (pass_must_repeat) {
        pending_error = {};
        return 1;
    }
    if (listing != nullptr) {
        page_check();
        stream_put_text(listing, "******** ERROR:  " + pending_text() + "  ********\n");
    }
    // With branch optimisation the listing comes from an extra last pass, and the passes before it
    // have shown its errors. Under -b the pass that lists is the only one to show them.
    if (listing == nullptr || opt_no_branch_opt)
        print_error_line(pending_text());
    ++error_count;
    pending_error = {};
    return 1;
}

void report_at_line(const char *message, const char *text)
{
    print_error_line(message_text(message, 0, text));
    ++error_count;
}

void report_without_line(const char *message, const char *text)
{
    print_diagnostic(message_text(message, 0, text) + '\n');
    ++error_count;
}

void print_file_error_prefix(const char *file)
{
    if (eclipse_style)
        std::fprintf(stderr, "%s:1 ", file);
    else
        std::fprintf(stderr, "#error %s %s:0 ", program_name, file);
}

void print_direct_error(const char *file, uint32_t line, const char *message, uint32_t length,
                        const char *text)
{
    print_diagnostic(error_head(file, line) + message_text(message, length, text) + '\n');
    ++error_count;
}

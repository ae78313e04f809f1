// Errors are remembered while a line is read and printed when it is done: nothing is thrown, a
// statement goes on after an error, and only the first error of a line is printed. Whether an
// object file comes into being, and the exit status, follow from error_count alone.

#include "base/diagnostics.h"

#include "base/byte_stream.h"
#include "base/file_names.h"
#include "base/line_context.h"
#include "base/memory.h"
#include "base/message_queue.h"
#include "base/pass_state.h"
#include "base/position.h"
#include "base/settings.h"
#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <string>
#include <utility>
#include <vector>

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
    size_t column;     // how far the line was read
    std::string notes; // under --explain
};
static PendingError pending_error;

// Whether the last error that was recorded is the pending one.
static bool last_is_pending;

static NoteMaker note_maker;

uint32_t recorded_errors;

static std::array<std::span<const char>, 2> changing_buffers;

static bool messages_held;
static std::vector<Message> held_messages;

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
    last_is_pending = pass_number != 0 && pending_error.message == nullptr;
    ++recorded_errors;
    if (!last_is_pending)
        return;
    pending_error.column = settings.explain ? reading_column() : NO_COLUMN;
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

bool takes_notes()
{
    return settings.explain && last_is_pending;
}

void explain_error_lines(std::string_view notes)
{
    if (takes_notes())
        pending_error.notes += notes;
}

void explain_error(std::string_view note)
{
    if (takes_notes())
        pending_error.notes += note_line(note);
}

void explain_range(uint32_t value, int32_t lowest, int32_t highest)
{
    if (!takes_notes())
        return;
    explain_error("the value is " + std::to_string(static_cast<int32_t>(value)) + ", allowed are " +
                  std::to_string(lowest) + " to " + std::to_string(highest));
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

static void write_text(const std::string &text)
{
    if (error_stream != nullptr)
        std::fputs(text.c_str(), error_stream);
    else
        stream_put_text(&gathered_errors, text);
}

void print_message(Message message)
{
    if (messages_held)
        held_messages.push_back(std::move(message));
    else if (settings.explain)
        queue_message(std::move(message));
    else
        write_text(message.line);
}

void print_queued_messages()
{
    if (settings.explain)
        write_text(take_queued_messages());
}

// Memory ends here: what waits is shown now.
static void show_waiting_messages()
{
    release_messages();
    print_queued_messages();
}

void set_note_maker(const NoteMaker &maker)
{
    note_maker = maker;
    set_exhaustion_hook(show_waiting_messages);
}

void hold_messages()
{
    messages_held = true;
    set_exhaustion_hook(show_waiting_messages);
}

void drop_messages()
{
    messages_held = false;
    set_exhaustion_hook(settings.explain ? show_waiting_messages : nullptr);
    held_messages.clear();
}

void release_messages()
{
    std::vector<Message> messages_now;
    messages_now.swap(held_messages);
    drop_messages();
    for (Message &message : messages_now)
        print_message(std::move(message));
}

static std::string error_head(const char *file, uint32_t line)
{
    return std::string("#error ") + settings.program_name + ' ' + file + ':' +
           std::to_string(static_cast<int32_t>(line)) + '\t';
}

static std::string made_notes(const char *message, std::string_view text)
{
    return note_maker.notes != nullptr ? note_maker.notes(message, text) : std::string();
}

static void print_error_line(const std::string &text, std::string notes)
{
    const SourcePosition position = source_position();
    const std::string head = settings.eclipse_style
                                 ? std::string(position.file) + ':' +
                                       std::to_string(static_cast<int32_t>(position.line)) + ":1: "
                                 : error_head(position.file, position.line);
    print_message({line_ordinal, head + text + '\n', std::move(notes)});
}

static std::string pending_notes()
{
    if (!settings.explain)
        return {};
    size_t column = pending_error.column;
    // The place that recorded the error knows better.
    const bool is_told = !pending_error.notes.empty();
    if (note_maker.column != nullptr)
        column = note_maker.column(pending_error.message, pending_error.text, column);
    return context_notes(line_context_at(column)) + pending_error.notes +
           (is_told ? "" : made_notes(pending_error.message, pending_error.text));
}

static bool settle_error(bool prints)
{
    if (!error_pending())
        return false;
    // A pass that will be repeated is void: an error that is real comes back in the next one.
    if (!pass_must_repeat) {
        if (prints)
            print_error_line(pending_text(), pending_notes());
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
    print_error_line(message_text(message, text), made_notes(message, text));
    ++error_count;
}

void report_without_line(const char *message, const char *text)
{
    print_message({0, message_text(message, text) + '\n', made_notes(message, text)});
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
    LineContext place;
    if (note_maker.place != nullptr)
        place = note_maker.place(message, text);
    std::string notes;
    if (place.line != 0 && (place.line != line || place.file != file))
        notes = note_line("the line is " + place.file + ':' + std::to_string(place.line));
    print_message({place.ordinal, error_head(file, line) + message_text(message, text) + '\n',
                   notes + context_notes(place) + made_notes(message, text)});
    ++error_count;
}

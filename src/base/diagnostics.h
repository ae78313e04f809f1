// The one error path of source lines: a line remembers its first error, the end of the statement
// prints and counts it. What the listing shows of it is the listing's own affair.
#pragma once

#include <cstdint>
#include <cstdio>
#include <span>
#include <string>
#include <string_view>

struct ByteStream;
struct LineContext;
struct Message;

// The messages that several places raise. The texts are printf formats: "%.*s" takes a text that
// need not be terminated, "%s" a terminated text.
namespace messages
{
constexpr const char *CANT_OPEN = "can't open %s";
constexpr const char *CANT_CREATE = "can't create %s";
constexpr const char *BAD_COMMENT = "bad comment delimiter";
constexpr const char *UNKNOWN_INSTRUCTION = "unknown instruction %.*s";
constexpr const char *MULTIPLY_DEFINED = "symbol %.*s multiply defined";
constexpr const char *MISSING_LABEL = "missing label";
constexpr const char *RELOCATABLE_NOT_ALLOWED = "relocatable expression not allowed";
constexpr const char *BAD_RELOCATABLE = "bad relocatable expression";
constexpr const char *NOT_DEFINED = "symbol %.*s not defined";
constexpr const char *BAD_SYMBOL_NAME = "bad symbol name: %.*s";
constexpr const char *SYNTAX_ERROR = "syntax error";
constexpr const char *BAD_CONSTANT = "bad constant";
constexpr const char *ZERO_DIVIDE = "zero divide";
constexpr const char *BAD_INDEX_REGISTER = "bad index register";
constexpr const char *VALUE_TOO_LARGE = "value too large";
constexpr const char *BAD_ADDRESSING_MODE = "bad addressing mode";
constexpr const char *MISSING_STRING = "missing string";
constexpr const char *SECTION_NOT_ASSIGNED = "section number not assigned";
constexpr const char *SECTION_ALREADY_ASSIGNED = "section number already assigned";
constexpr const char *INVALID_BIT_NUMBER = "invalid bit number";
constexpr const char *INVALID_BIT_DEFINITION = "invalid bit definition";
constexpr const char *TOO_MANY_SECTIONS = "too many sections";
constexpr const char *PATH_TOO_LONG = "path too long: %.*s...";
} // namespace messages

// Prints diagnostics to `stream` as they come, from now on; to standard error before the first
// call.
void send_diagnostics_to(std::FILE *stream);

// Gathers diagnostics in memory from now on, for the file of +e.
void gather_diagnostics();
const ByteStream &gathered_diagnostics();
void drop_gathered_diagnostics();

// Says where texts stand that may still change while a line is read: a message that shows one shows
// it as it stands when the line is done. Other texts are copied, since they may be gone by then.
void set_changing_buffers(std::span<const char> first, std::span<const char> second);

// Remembers an error for the current line, unless one is pending already or this is the sizing
// pass, whose statements all come again. `message` is a format; `text` is what its placeholder
// takes, if it has one.
void record_error(const char *message, std::string_view text = {});

// Remembers an error in every pass: for what only the sizing pass can see, or must see too.
void force_error(const char *message, std::string_view text = {});

// Whether the error that was recorded last takes notes. A pass that will be void may record errors
// at every other line: a note that is composed asks first.
bool takes_notes();

// Adds a line of notes to the error that the last call of record_error or force_error has
// remembered, or nothing if that one came too late or under no --explain.
void explain_error(std::string_view note);

// The same with whole lines of notes.
void explain_error_lines(std::string_view notes);

// The same for a value out of its range.
void explain_range(uint32_t value, int32_t lowest, int32_t highest);

// Who knows more under --explain: lines of notes for a message with its text, and the line that a
// message found between the passes is about.
struct NoteMaker {
    std::string (*notes)(const char *message, std::string_view text);
    LineContext (*place)(const char *message, std::string_view text);
    // Where the caret of a message goes when the line was read up to `column`.
    size_t (*column)(const char *message, std::string_view text, size_t column);
};
void set_note_maker(const NoteMaker &maker);

// How many errors record_error has been handed in this run, whatever becomes of them: those of the
// sizing pass are forgotten at once.
extern uint32_t recorded_errors;

// Whether the current line has an error that isn't printed yet.
bool error_pending();

// The text of the pending error.
std::string pending_text();

// Prints and counts the pending error, or drops it when the pass is void. Returns whether an error
// was pending, dropped or not.
bool flush_error();

// The same for an error that the listing shows. Under branch optimisation it isn't printed again:
// the listing comes from an extra last pass, and the passes before it have printed its errors.
void flush_listed_error();

// Prints an error at the current line and counts it at once, whatever pass this is: for what makes
// even a void pass worthless, as an input that can't be read does. `text` is for the "%s" of
// `message`.
void report_at_line(const char *message, const char *text);

// Prints an error that has no line, and counts it. `text` as above.
void report_without_line(const char *message, const char *text);

// Prints a message, or queues it under --explain.
void print_message(Message message);

// Prints the messages queued so far.
void print_queued_messages();

// Diagnostics wait from here on until they are released or dropped. They count
// at once.
void hold_messages();
void release_messages();
void drop_messages();

// Writes the head of a message that has a file but no line to standard error.
void print_file_error_prefix(const char *file);

// Prints an error found between the passes, always in its "#error" form, and counts it. `message`
// takes `text`, if it has a placeholder.
void print_direct_error(const char *file, uint32_t line, const char *message,
                        std::string_view text = {});

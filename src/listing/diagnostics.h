// The one error path of source lines: a line remembers its first error, the end of the statement
// prints and counts it.
#pragma once

#include <cstdint>
#include <cstdio>

struct ByteStream;

// The messages that several places raise, as indexes of `messages`. The texts are printf formats:
// "%.*s" takes a length and a text that need not be terminated, "%s" a terminated text.
enum MessageIndex {
    MSG_CANT_OPEN,
    MSG_CANT_CREATE,
    MSG_BAD_COMMENT,
    MSG_UNKNOWN_INSTRUCTION,
    MSG_MULTIPLY_DEFINED,
    MSG_MISSING_LABEL,
    MSG_RELOCATABLE_NOT_ALLOWED,
    MSG_BAD_RELOCATABLE,
    MSG_NOT_DEFINED,
    MSG_BAD_SYMBOL_NAME,
    MSG_SYNTAX_ERROR,
    MSG_BAD_CONSTANT,
    MSG_ZERO_DIVIDE,
    MSG_BAD_INDEX_REGISTER,
    MSG_VALUE_TOO_LARGE,
    MSG_MISSING_OPERAND,
    MSG_BAD_ADDRESSING_MODE,
    MSG_MISSING_STRING,
    MSG_BAD_REGISTER,
    MSG_MISSING_REGISTER,
    MSG_SECTION_NOT_ASSIGNED,
    MSG_SECTION_ALREADY_ASSIGNED,
    MSG_INVALID_BIT_NUMBER,
    MSG_INVALID_BIT_DEFINITION,
    MSG_INVALID_BIT_ADDRESS,
    MSG_TOO_MANY_SECTIONS,
    MSG_PATH_TOO_LONG,
    MESSAGE_COUNT
};

extern const char *const messages[MESSAGE_COUNT];

// Errors printed for the current source file. Zeroed once per file, never between passes, so an
// error met in two passes counts twice.
extern int32_t error_count;

// Where diagnostics go as they come: standard error, or none while they are gathered for the file
// of +e, in gathered_errors.
extern std::FILE *error_stream;
extern ByteStream gathered_errors;

// File name given by #line or .sfile, none when the real position counts. With it, the line shown
// is line_ordinal minus line_directive_bias. Set by the directives, never reset.
extern const char *line_directive_file;
extern uint32_t line_directive_bias;

// The position that diagnostics and first references show: a file name and a line number.
struct SourcePosition {
    const char *file;
    uint32_t line;
};
SourcePosition source_position();

// Remembers an error for the current line, unless one is pending already or this is the sizing
// pass, whose statements all come again. `message` is a format; `text` and `length` are what its
// placeholder takes, none and 0 if it has none.
void record_error(const char *message, uint32_t length, const char *text);

// The same for a message of the table without a placeholder.
void record_error(MessageIndex message);

// Remembers an error in every pass: for what only the sizing pass can see, or must see too.
void force_error(const char *message, uint32_t length, const char *text);
void force_error(MessageIndex message);

// Whether the current line has an error that isn't printed yet.
bool error_pending();

// Prints and counts the pending error, to `listing` when given, else as a diagnostic; drops it when
// the pass is void. Returns 1 if an error was pending, dropped or not, else 0.
int32_t flush_error(ByteStream *listing);

// Prints an error at the current line and counts it at once, whatever pass this is: for what makes
// even a void pass worthless, as an input that can't be read does. `text` is for the "%s" of
// `message`.
void report_at_line(const char *message, const char *text);

// Prints an error that has no line, and counts it. `text` as above.
void report_without_line(const char *message, const char *text);

// Messages that go to error_stream wait from here on until they are released or dropped. They count
// at once.
void hold_messages();
void release_messages();
void drop_messages();

// Writes the head of a message that has a file but no line to standard error.
void print_file_error_prefix(const char *file);

// Prints an error found between the passes, always in its "#error" form, and counts it. `message`
// takes `length` and `text`, if it has a placeholder.
void print_direct_error(const char *file, uint32_t line, const char *message, uint32_t length,
                        const char *text);

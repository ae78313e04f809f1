// The one error path of source lines: a line remembers its first error, the end of the statement
// prints and counts it.
#pragma once

#include <cstdint>
#include <cstdio>

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

// Where diagnostics go: standard error, or the file of +e.
extern std::FILE *error_stream;

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

// Prints and counts the pending error, to `listing` when given, else to error_stream; drops it when
// the pass is void. Returns 1 if an error was pending, dropped or not, else 0.
int32_t flush_error(std::FILE *listing);

// Messages that go to error_stream wait from here on until they are released or dropped. They count
// at once.
void hold_messages();
void release_messages();
void drop_messages();

// Writes the head of a message that has a file but no line to standard error.
void print_file_error_prefix(const char *file);

// Opens an output file for writing, `mode` as for fopen. When that fails, or when the file is one
// that is being assembled and would be lost, tells so on standard error and gives none; no error is
// counted.
std::FILE *create_output(const char *name, const char *mode);

// Prints an error found between the passes to error_stream, always in its "#error" form, and counts
// it. `message` takes `length` and `text`, if it has a placeholder.
void print_direct_error(const char *file, uint32_t line, const char *message, uint32_t length,
                        const char *text);

// Closes an output file. When not everything could be written, tells so, counts an error and
// returns false.
bool close_output(std::FILE *stream, const char *name);

// Opens error_stream; returns 0, with the reason told, if the file of +e can't be created.
int32_t open_error_stream();

// Closes the file of +e at the end of the run; without errors the file is deleted. Returns 0 if the
// diagnostics could not be written, else 1.
int32_t close_error_stream(int32_t any_errors);

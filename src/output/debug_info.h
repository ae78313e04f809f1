// Text for tools: the debug records, the section .debug, and the sections .info. and .misra.
#pragma once

#include "base/object_format.h"
#include <cstdint>
#include <string_view>

struct Section;

// A short text tied to an address. The list is built in the sizing pass and walked in step with the
// source in every later pass.
struct DebugRecord {
    DebugRecord *next;
    uint32_t address;
    uint8_t kind; // DEBUG_
    uint8_t text_length;
    Section *section;
    char *text; // not terminated; inside the record
};

// The records that reach the object file, in the order of the source; null at the end.
const DebugRecord *first_written_record();
const DebugRecord *next_written_record(const DebugRecord &record);

// Sets the SEC_ bit `flag` in the sections of the records that reach the object file.
void mark_sections_of_debug_records(uint16_t flag);

// A fingerprint of what the next pass compares its records with.
uint64_t hash_debug_records();

// Whether line records are made: -x, until a source brings debug information of its own; never set
// again then.
extern bool debug_lines;

// Starts the walk at the head of a pass; drops the records of the pass before when this one has to
// build them.
void reset_debug_records();

// One record for the instruction at hand, under -x.
void debug_line_record();

// End and begin of a range of lines in the current section, under -x.
void debug_close_scope(const char *file, uint32_t line);
void debug_open_scope(const char *file, uint32_t line);

// Ends the last range and closes .debug, which stays current, with its table of symbols.
void debug_end_of_file(const char *file, uint32_t line);

// Makes the next record, or checks it against the pass before. A text of more than 255 characters
// wraps in its length byte.
void add_debug_record(std::string_view text, uint8_t kind);

// Ends the assembler's own records, since the source brings debug information: what -x has put in
// so far goes, and no more comes, for this and all later source files.
void cancel_line_records();

// Appends a text to .info. or .misra.; a newline is stored as a zero byte. Nothing happens when the
// section is suppressed.
void append_info(std::string_view text);
void append_misra(std::string_view text);

// The first text of .info., at the head of each pass: object file and time.
void write_info_header();

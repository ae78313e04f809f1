// One source line: label, word, operands.
#pragma once

#include <cstdint>
#include <string_view>

struct Symbol;

// The label defined last; `section`, `switch`, `org` and the head of a pass clear it. Data
// directives tell it the size of its data.
extern Symbol *last_label;
void reset_statements_for_pass();

// Whether the lines of the current section are listed only under dlist_flag. Recomputed for every
// statement, kept up by the directives that change the section, cleared by `end` and the external
// symbol directives, so that those lines are listed.
extern bool current_is_debug;
void note_debug_section();

// Assembles, records or skips one line, and lists it. `line` ends in a zero byte.
void process_statement(const char *line);

// Records "symbol %.*s multiply defined" in the sizing pass and marks the symbol, so that the
// listing repeats the message.
void report_multiply_defined(Symbol *symbol, std::string_view name);

// Notes where a symbol is defined, the first time.
void note_first_definition(Symbol *symbol);

// Gives a label or an equate its place: the value, the section's number (0 for none), and in
// `attributes` what it takes over of ATTR_FROM_SECTION and ATTR_ABSOLUTE. Asks for another pass
// when it moved.
void move_symbol(Symbol *symbol, uint32_t value, uint8_t section_number, uint8_t attributes);

// Notes that this pass defines the symbol, ahead of the definition. Asks for another pass when it
// is the first to do so and something above has taken the symbol for undefined.
void note_late_definition(Symbol *symbol);

// The same; the listing carries the message again for a symbol that was defined twice.
void note_definition(Symbol *symbol, std::string_view name);

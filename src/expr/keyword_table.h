// What can stand in the operation place of a statement: directives, mnemonics, macros. Names are
// found without regard to case.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

struct BodyLine;
struct Keyword;
struct OpcodeEntry;

// A line taken apart, up to its operands. They are read at line_cursor.
struct Statement {
    std::string_view label; // empty without one
    std::string_view word;
    std::string_view suffix; // the one or two characters after the dot of the word
    Keyword *keyword;        // of the word, or null
};

// The action of a directive. The label is handed over undefined where the row has KW_NEEDS_LABEL.
using DirectiveAction = void (*)(const Statement &statement);

// Bits of Keyword::flags.
constexpr uint16_t KW_DIRECTIVE = 0x0001;   // "stem.x" is looked up whole if the stem has this
constexpr uint16_t KW_NEEDS_LABEL = 0x0002; // the label is handed to the action, not defined
constexpr uint16_t KW_INSTRUCTION = 0x0004; // a mnemonic of the target
constexpr uint16_t KW_MACRO = 0x0008;
constexpr uint16_t KW_ENDS_BODY = 0x0010;     // `endm`, and with KW_OF_REPEAT `endr`
constexpr uint16_t KW_UNLISTED = 0x0020;      // the line is never listed
constexpr uint16_t KW_CONDITIONAL = 0x0040;   // also runs in skipped code; listed under clist_flag
constexpr uint16_t KW_DEBUG = 0x0080;         // listed only under dlist_flag
constexpr uint16_t KW_BEGINS_BODY = 0x0100;   // `macro`, and with KW_OF_REPEAT the repeats
constexpr uint16_t KW_OF_REPEAT = 0x0200;     // begins or ends the body of a repeat, not of a macro
constexpr uint16_t KW_UNRECORDED = 0x0400;    // the line goes into no body
constexpr uint16_t KW_LABEL_IS_NAME = 0x0800; // the label, if there is one, names no symbol

// What most rows have.
constexpr uint16_t KW_PLAIN = KW_DIRECTIVE;
constexpr uint16_t KW_QUIET = KW_DIRECTIVE | KW_UNLISTED;
constexpr uint16_t KW_LABELED = KW_DIRECTIVE | KW_NEEDS_LABEL;

// A directive. Each file of directives has one table of them.
struct DirectiveRow {
    const char *name;
    DirectiveAction action;
    uint8_t argument; // what the rows of one action differ in
    uint16_t flags;   // KW_ bits
};

struct Keyword {
    Keyword *shadow; // of a macro that overrides a keyword: a copy of what it was, or null
    union {
        DirectiveAction action;
        const OpcodeEntry *opcodes; // with KW_INSTRUCTION: the first row of the mnemonic
        BodyLine *body;             // with KW_MACRO: the stored lines, null while it is empty
    };
    uint8_t argument; // for the action
    uint8_t name_length;
    uint16_t flags;     // KW_ bits
    char *name;         // in lower case, no end mark; inside the record
    uint64_t last_word; // of the name, folded, for lookups
};

// In lower case.
inline std::string_view keyword_name(const Keyword &keyword)
{
    return {keyword.name, keyword.name_length};
}

// Set by an expansion line that asks for the keyword under a macro of the same name; cleared at
// the end of the statement.
extern bool bypass_macro;

// Makes a keyword, without looking for an older one.
Keyword *add_keyword(std::string_view name, uint8_t argument, uint16_t flags);

// The same for the rows of a table of directives.
void add_directives(std::span<const DirectiveRow> rows);

// Finds a keyword, or null. With bypass_macro a macro that overrides a keyword gives that one.
Keyword *find_keyword(std::string_view name);

// Gives the keyword a copy of itself as shadow, so that it can become a macro.
void shadow_keyword(Keyword *keyword);

// Whether the keyword is a directive, or a macro over one: a word "stem.x" is then looked up whole.
bool is_directive_stem(const Keyword *keyword);

// Calls `visit` for each keyword, macros and overridden ones included.
void visit_keywords(void (*visit)(const Keyword &));

// Calls `visit` for each macro.
void visit_macros(void (*visit)(Keyword *));

// Gives a keyword that a macro has overridden its meaning back. The body has been freed.
void undo_macro(Keyword *keyword);

// Drops all macros, whose bodies have been freed. An overridden keyword goes with its macro: after
// the source file that overrode it an instruction stays unknown.
void drop_macros();

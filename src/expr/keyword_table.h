// What can stand in the operation place of a statement: directives, mnemonics, macros. Names are
// found without regard to case.
#pragma once

#include <cstdint>

struct BodyLine;
struct Keyword;
struct OpcodeEntry;

// The action of a directive. `label` is the statement's label, none and length 0 without one; it is
// handed over undefined where the row has KW_NEEDS_LABEL. Operands are read at line_cursor.
using DirectiveAction = void (*)(Keyword *keyword, const char *label, uint32_t length);

// Bits of Keyword::flags.
constexpr uint8_t KW_DIRECTIVE = 0x01;   // "stem.x" is looked up whole if the stem has this
constexpr uint8_t KW_NEEDS_LABEL = 0x02; // the label is handed to the action, not defined
constexpr uint8_t KW_INSTRUCTION = 0x04; // a mnemonic of the target
constexpr uint8_t KW_MACRO = 0x08;
constexpr uint8_t KW_ENDS_BODY = 0x10;   // `endm`, `endr`
constexpr uint8_t KW_UNLISTED = 0x20;    // the line is never listed
constexpr uint8_t KW_CONDITIONAL = 0x40; // also runs in skipped code; listed only under clist_flag
constexpr uint8_t KW_DEBUG = 0x80;       // listed only under dlist_flag

struct Keyword {
    Keyword *next;
    union {
        DirectiveAction action;
        const OpcodeEntry *opcodes; // with KW_INSTRUCTION: the first row of the mnemonic
        BodyLine *body;             // with KW_MACRO: the stored lines, none while it is empty
    };
    uint8_t argument; // for the action; of a macro: 1 if it overrides an older keyword of its name
    uint8_t flags;    // KW_ bits
    uint8_t name_length;
    char *name; // in lower case, no end mark; inside the record
};

// Set by an expansion line that asks for the keyword behind a macro of the same name; cleared at
// the end of the statement.
extern int32_t bypass_macro;

// Makes a keyword, without looking for an older one. Length 0 means that the name is terminated.
Keyword *add_keyword(const char *name, uint32_t length, uint8_t argument, uint8_t flags);

// Finds a keyword, or none. With bypass_macro a macro that overrides a keyword gives that one.
Keyword *find_keyword(const char *name, uint32_t length);

// Inserts a copy of the keyword right behind it, so that the keyword itself can become a macro.
void shadow_keyword(Keyword *keyword);

// Whether the keyword is a directive, or a macro over one: a word "stem.x" is then looked up whole.
bool is_directive_stem(const Keyword *keyword);

// Whether the keyword is the directive with this action.
bool has_action(const Keyword *keyword, DirectiveAction action);

// Gives the keywords that macros have overridden their meaning back.
void undo_macros();

// Drops all macros at the end of a source file.
void forget_macros();

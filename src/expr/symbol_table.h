// Everything an operand can name: labels, equates, externals, text literals, local labels,
// registers.
#pragma once

#include "base/object_format.h"
#include "expr/cross_reference.h"
#include <cstdint>
#include <string_view>
#include <vector>

// What kind of thing a symbol is: the bits of Symbol::flags.
constexpr uint16_t SYM_PREDEFINED = 0x0001; // made by -d or the assembler; outlives a source file
constexpr uint16_t SYM_SET = 0x0002;        // made by `set`: may be assigned again
constexpr uint16_t SYM_REGISTER = 0x0004;   // a register; `value` is its number
constexpr uint16_t SYM_TESTED = 0x0008;     // asked about by `defined` or `ifdef` while undefined
constexpr uint16_t SYM_ALIAS = 0x0010;      // an equate of what no section holds: goes by `link`
constexpr uint16_t SYM_IN_DEBUG = 0x0040;   // a label of a debug section
constexpr uint16_t SYM_LOCAL = 0x0080;      // the name begins with a digit
constexpr uint16_t SYM_BIT = 0x0100;        // an equate with a bit number
constexpr uint16_t SYM_LITERAL = 0x0200;    // made by `lit`: the lexer reads `literal` in its place
constexpr uint16_t SYM_WEAK = 0x0400;       // declared by `wdef`
constexpr uint16_t SYM_REPORTED = 0x0800;   // reported as undefined
constexpr uint16_t SYM_KEPT = 0x1000;       // gets a record, as a later pass was seen to need it

// The section attributes that a label takes over from its section.
constexpr uint8_t ATTR_FROM_SECTION = ATTR_ZPAGE | ATTR_BIT | ATTR_LONG | ATTR_CODE;

// Records live from the first mention to the end of the source file, through all passes. What
// every use of a symbol looks at stands first, together in memory.
struct Symbol {
    Symbol *next;
    uint64_t last_word;  // of the name, for lookups
    uint32_t scope;      // of a local label
    uint32_t value;      // a bit symbol holds byte address times 8 plus bit number
    uint32_t cell;       // of the layout record: whose value moves, 0 for none
    uint32_t defined_in; // pass_number of the last definition and of the last use
    uint32_t used_in;
    uint32_t ref_line;      // line of the first reference, 0 while there is none
    uint16_t flags;         // SYM_ bits
    uint8_t attrs;          // ATTR_ bits
    uint8_t declared_attrs; // those that `xref` and its kin declare
    bool multiply_defined;  // found defined twice: no lookup finds a local label again
    uint8_t section_number; // 0 for none
    uint8_t name_length;    // modulo 256
    const char *name;       // `name_length` bytes without end mark, inside the record
    XrefList xref;          // the lines that use the symbol
    union {
        Symbol *link;  // of an equate: the symbol that its value rests on, or null
        char *literal; // with SYM_LITERAL: the owned text
    };
    Symbol *alias_end;       // with SYM_ALIAS: what follow_alias has found
    uint32_t alias_version;  // when it did so
    uint32_t object_index;   // number in the object file, 0 when it has none
    const char *source_file; // file of the definition or of the first use; not owned
    uint32_t def_ordinal;    // line_ordinal of the definition
    uint32_t data_size;      // bytes of data after the label, for debug information
    uint32_t def_line;       // 0 while undefined, and for local labels
};

// Head of the one list of all symbols. Its order is that of the symbols in the object file: the
// symbols of one hash bucket stand together, in the order of their making, and a bucket used for
// the first time comes to the head. list_symbols sorts it.
extern Symbol *symbol_list;

// The same symbols in the order of their making, in which they lie in memory: for those who look at
// all of them and don't mind which order they come in.
extern std::vector<Symbol *> symbols_by_age;

// The scope that local labels belong to. 0 at the head of a pass, advanced by each ordinary label,
// by `include` and by `local`.
extern uint32_t scope_number;

// For the head of a pass.
void reset_symbols_for_pass();

// Finds the symbol of this name, in the present scope if it begins with a digit, and makes it if
// there is none. Names are known by counted_name.
Symbol *find_symbol(std::string_view name);

// Whether the symbol is defined on a line above the current one. Marks an undefined symbol as
// tested. The answer is the same in every pass, though a later pass knows every definition.
bool is_defined_above(Symbol *symbol);

// What a symbol stands for in the end: follows SYM_ALIAS from link to link, as far as the next bit
// symbol, whose value is no address. Gives the symbol itself if it is no alias or a bit symbol, and
// null for an alias of nothing, which comes of an error.
Symbol *follow_alias(Symbol *symbol);

// Some symbol has become an alias, or is one no more, or stands for something else than before.
void note_alias_change();

// Between two source files: keeps registers and predefined symbols, with what their attributes have
// gathered, and drops everything else.
void reset_symbols();

// What both name tables know of a name: its length is cut to 8 bits, and where that leaves 0 the
// text is taken up to its zero byte, which must follow, and cut again.
std::string_view counted_by_end(std::string_view name);
inline std::string_view counted_name(std::string_view name)
{
    const auto length = static_cast<uint8_t>(name.size());
    return length != 0 ? std::string_view(name.data(), length) : counted_by_end(name);
}

// Whether nothing has defined the symbol yet. Null, as of a value without a symbol, lacks nothing.
inline bool lacks_definition(const Symbol *symbol)
{
    return symbol != nullptr && (symbol->attrs & ATTR_DEFINED) == 0;
}

inline std::string_view symbol_name(const Symbol &symbol)
{
    return {symbol.name, symbol.name_length};
}

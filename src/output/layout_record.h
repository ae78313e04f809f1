// What decides the layout of a pass, in a form that runs again without the text.
//
// A value that may differ in the next pass is known by a cell. The rest of it (its section, its
// relocation, the constants added to it) stays, so a value is what its cell holds plus an addend.
// Cell 0 is that of values that stay, and holds 0. A value can move only if it comes after the
// first thing of its section that can change its size, or is computed of such values.
#pragma once

#include "expr/value.h"
#include <cstdint>
#include <vector>

struct Section;

enum class LayoutStep : uint8_t {
    PLACE,   // the cell takes the location
    LABEL,   // the same, and the pass is void if the cell held something else
    ASSIGN,  // the cell takes the value
    EQUATE,  // the same, and the pass is void if the cell held something else; with `detail` 1 an
             // alias, which turns into a number when the symbol of the source has done so
    COMPUTE, // the cell takes what the operator `detail` makes of two cells
    GUARD,   // a decision of the recorded pass that holds for a range of values
    RESERVE, // room of `detail` times the value
    ALIGN,   // room up to a multiple of the value
    ORG,     // room up to the address that is the value
    BRANCH,  // a branch, jump or call to the value; `detail` says which, to the target
};

struct LayoutItem {
    LayoutStep step;
    uint8_t detail;
    uint16_t section; // its number, for steps that have a location
    uint32_t gap;     // bytes of the section between the step in it before and this one
    uint32_t target;  // the cell that is set; of GUARD: the highest value, the lowest being 0
    uint32_t source;  // the cell of the value; of COMPUTE: of the left operand
    uint32_t addend;  // added to it; of COMPUTE: the cell of the right operand
};

// A branch of the sizing pass to a symbol that stands below it, or is an external.
struct ForwardBranch {
    uint32_t step;
    Symbol *symbol;
};

struct LayoutRecord {
    std::vector<LayoutItem> items;
    std::vector<uint32_t> values;  // of the cells, as the recorded pass left them
    std::vector<uint32_t> starts;  // as it found them, where anything reads them first
    std::vector<Symbol *> symbols; // whose cells they are, or null
    std::vector<bool> holds_code;  // the cell tells whether the symbol has ATTR_CODE, not its value
    std::vector<bool> numbers;     // the symbol is a number, as the recorded pass left it
    std::vector<uint32_t> reads;   // how often the symbol was read, other than by aliases of it
    std::vector<Section *> sections; // by number
    std::vector<ForwardBranch> forward_branches;
};
extern LayoutRecord layout_record;

// Records the pass that is about to begin, in place of what was recorded before.
void begin_layout_record();

// At the end of the pass. False if something in it can't be run again: an error, or a symbol that
// turned into another kind after it was read.
bool finish_layout_record();

// The same at the end of the sizing pass, which takes all that stands below for a place of no
// section. False also if that isn't what it turned out to be, or if the next pass might record an
// error. What the forward branches depend on is left to who knows about branches.
bool finish_sizing_record();

// Forgets the record, before symbols or sections go.
void drop_layout_record();

// What follows does nothing while no pass is being recorded.

// Something happened that makes another pass more than a matter of moving values.
void spoil_layout_record();

// Notes that the symbol's value is read; gives its cell.
uint32_t record_read(Symbol *symbol);

// Gives the cell of the location counter.
uint32_t record_location();

// Gives the cell of what the operator makes of two values.
uint32_t record_computation(int32_t token, const ExprValue &left, const ExprValue &right);

// The distance of two places of which one may stand below, in the sizing pass. False in other
// passes: then both must be known, and in one section.
bool record_early_distance(const ExprValue &left, const ExprValue &right);

// A decision that holds for the values from `lowest` to `highest`, which may wrap round.
void record_decision(const ExprValue &value, uint32_t lowest, uint32_t highest);

// A decision that holds for this value alone.
void record_use(const ExprValue &value);

// The definition of a symbol: as a label at the current location, as an equate of a place, as a
// number. Before the symbol takes the value.
void record_label(Symbol *symbol);
void record_equate(Symbol *symbol, const ExprValue &value);
void record_assignment(Symbol *symbol, const ExprValue &value);

// Room in the current section, before its `size` bytes are written: a number of items of
// `item_size` bytes, bytes up to a multiple of `alignment`, bytes up to an address.
void record_reserve(const ExprValue &count, uint32_t item_size);
void record_alignment(uint32_t alignment, uint32_t size);
void record_org(const ExprValue &address, uint32_t size);

// A branch, jump or call to the value, before its `size` bytes are written. `serves_others` if
// branches may hop through it.
void record_branch(uint8_t branch, const ExprValue &value, uint32_t size, bool serves_others);

// Recording goes along with a text pass. Who takes a decision from a value that moves, or moves the
// location by an amount that is not fixed, notes it here; all else are fixed bytes, and these are
// what a section has grown by since the last step in it, so that writing a byte needs no note.

#include "output/layout_record.h"

#include "base/diagnostics.h"
#include "base/pass_state.h"
#include "expr/cross_reference.h"
#include "expr/lexer.h"
#include "expr/symbol_table.h"
#include "output/section_table.h"
#include <algorithm>
#include <unordered_map>

LayoutRecord layout_record;

static bool recording;
static bool spoiled;
static uint32_t errors_at_head;
static uint32_t uses_at_head;

// What a symbol was when it was read ahead of its definition in the pass.
struct EarlyRead {
    Symbol *symbol;
    const Symbol *alias_end; // or null
    uint16_t flags;
    uint8_t attrs;
    uint8_t section_number;
};
static std::vector<EarlyRead> early_reads;

// Two places whose distance the sizing pass has taken ahead of one of them. Null is a place in the
// section without a name.
struct EarlyPlace {
    const Symbol *symbol;
    uint8_t section_number;
};
struct EarlyDistance {
    EarlyPlace from;
    EarlyPlace to;
};
static std::vector<EarlyDistance> early_distances;

// The cells that hold whether a symbol has ATTR_CODE.
static std::unordered_map<const Symbol *, uint32_t> code_cells;

static uint32_t new_cell(Symbol *symbol, uint32_t value, bool holds_code = false)
{
    layout_record.values.push_back(value);
    layout_record.starts.push_back(value);
    layout_record.symbols.push_back(symbol);
    layout_record.holds_code.push_back(holds_code);
    layout_record.numbers.push_back(false);
    layout_record.reads.push_back(0);
    return static_cast<uint32_t>(layout_record.values.size() - 1);
}

static uint32_t cell_of(Symbol *symbol)
{
    if (symbol->cell == 0)
        symbol->cell = new_cell(symbol, symbol->value);
    return symbol->cell;
}

void drop_layout_record()
{
    for (Symbol *symbol : layout_record.symbols) {
        if (symbol != nullptr)
            symbol->cell = 0;
    }
    layout_record.items.clear();
    layout_record.values.clear();
    layout_record.starts.clear();
    layout_record.symbols.clear();
    layout_record.holds_code.clear();
    layout_record.numbers.clear();
    layout_record.reads.clear();
    layout_record.sections.clear();
    layout_record.forward_branches.clear();
    early_reads.clear();
    early_distances.clear();
    code_cells.clear();
    recording = false;
}

void begin_layout_record()
{
    drop_layout_record();
    new_cell(nullptr, 0);
    recording = true;
    spoiled = false;
    errors_at_head = recorded_errors;
    uses_at_head = noted_uses;
}

static uint32_t cell_value(const Symbol *symbol, bool holds_code)
{
    return holds_code ? (symbol->attrs & ATTR_CODE) != 0 : symbol->value;
}

// ATTR_CODE decides nothing and has a cell where it may change.
static EarlyRead kind_of(Symbol *symbol)
{
    constexpr uint16_t BOOKKEEPING = SYM_TESTED | SYM_REPORTED;
    const Symbol *end = (symbol->flags & SYM_ALIAS) ? follow_alias(symbol) : nullptr;
    constexpr uint8_t UNREAD = ATTR_REFERENCED | ATTR_CODE;
    return {symbol, end, static_cast<uint16_t>(symbol->flags & ~BOOKKEEPING),
            static_cast<uint8_t>(symbol->attrs & ~UNREAD), symbol->section_number};
}

// An alias that has turned into a number, which replay can do with those that are read by aliases
// only.
static bool turned_into_number(const EarlyRead &read, const EarlyRead &now)
{
    constexpr uint8_t NUMBER = ATTR_DEFINED | ATTR_ABSOLUTE;
    return layout_record.reads[read.symbol->cell] == 0 && now.alias_end == nullptr &&
           read.flags == (now.flags | SYM_ALIAS) && now.attrs == (read.attrs | NUMBER) &&
           (now.flags & SYM_ALIAS) == 0 && now.section_number == read.section_number;
}

static bool kept_its_kind(const EarlyRead &read)
{
    const EarlyRead now = kind_of(read.symbol);
    if (turned_into_number(read, now))
        return true;
    return now.alias_end == read.alias_end && now.flags == read.flags && now.attrs == read.attrs &&
           now.section_number == read.section_number;
}

// Sections are known by their numbers. False if these are not those of one list.
static bool list_sections()
{
    layout_record.sections.assign(1, nullptr);
    for (Section *section = section_list; section != nullptr; section = section->next) {
        if (section->number >= layout_record.sections.size())
            layout_record.sections.resize(section->number + size_t{1});
        if (layout_record.sections[section->number] != nullptr)
            return false;
        layout_record.sections[section->number] = section;
    }
    return true;
}

static void note_values()
{
    for (size_t cell = 0; cell < layout_record.symbols.size(); ++cell) {
        const Symbol *symbol = layout_record.symbols[cell];
        if (symbol == nullptr)
            continue;
        layout_record.values[cell] = cell_value(symbol, layout_record.holds_code[cell]);
        layout_record.numbers[cell] = (symbol->attrs & ATTR_ABSOLUTE) != 0;
    }
}

bool finish_layout_record()
{
    recording = false;
    note_values();
    return !spoiled && errors_at_head == recorded_errors && uses_at_head == noted_uses &&
           std::ranges::all_of(early_reads, kept_its_kind) && list_sections();
}

// Whether a symbol that the sizing pass has read as a place of no section is one: a label in a
// section whose addresses are neither short nor long nor numbers, or still an external.
static bool turned_into_place(const EarlyRead &read)
{
    constexpr uint8_t UNREAD = ATTR_PUBLIC | ATTR_DEFINED;
    const EarlyRead now = kind_of(read.symbol);
    return (read.attrs & ATTR_DEFINED) == 0 && (read.flags & SYM_ALIAS) == 0 &&
           now.flags == read.flags && (now.attrs & ~UNREAD) == (read.attrs & ~UNREAD);
}

static uint8_t section_of(const EarlyPlace &place)
{
    return place.symbol != nullptr ? place.symbol->section_number : place.section_number;
}

static bool lies_in_section(const EarlyDistance &distance)
{
    return !lacks_definition(distance.from.symbol) && !lacks_definition(distance.to.symbol) &&
           section_of(distance.from) == section_of(distance.to);
}

// Where a section has been moved by an `org` its labels were elsewhere ahead of that.
static bool sections_stand()
{
    return std::ranges::all_of(layout_record.sections, [](const Section *section) {
        return section == nullptr || section->base_address == 0;
    });
}

bool finish_sizing_record()
{
    recording = false;
    note_values();
    return !spoiled && errors_at_head == recorded_errors &&
           std::ranges::all_of(early_reads, turned_into_place) &&
           std::ranges::all_of(early_distances, lies_in_section) && list_sections() &&
           sections_stand();
}

void spoil_layout_record()
{
    spoiled = true;
}

static bool is_sizing()
{
    return pass_number == 0;
}

static bool is_defined_in_this_pass(const Symbol *symbol)
{
    if (is_sizing())
        return (symbol->attrs & ATTR_DEFINED) != 0;
    return symbol->defined_in == static_cast<uint32_t>(pass_number);
}

static void note_read(Symbol *symbol)
{
    if (symbol->cell == 0 && !is_defined_in_this_pass(symbol)) {
        early_reads.push_back(kind_of(symbol));
        cell_of(symbol);
    }
    if (symbol->cell != 0)
        ++layout_record.reads[symbol->cell];
}

uint32_t record_read(Symbol *symbol)
{
    constexpr uint16_t STAYS = SYM_PREDEFINED | SYM_REGISTER;
    if (!recording || (symbol->flags & STAYS))
        return 0;
    note_read(symbol);
    // What an alias stands for is read as well.
    Symbol *end = follow_alias(symbol);
    if (end != nullptr && end != symbol)
        note_read(end);
    const bool is_known = (symbol->attrs & ATTR_DEFINED) || is_sizing();
    const bool has_value = is_known && (symbol->flags & SYM_WEAK) == 0;
    return has_value ? symbol->cell : 0;
}

static LayoutItem *add_item(LayoutStep step)
{
    layout_record.items.push_back({step, 0, 0, 0, 0, 0, 0});
    return &layout_record.items.back();
}

// A step with a location, of `size` bytes that are not written yet.
static LayoutItem *add_step(LayoutStep step, uint32_t size)
{
    Section *section = current_section;
    LayoutItem *item = add_item(step);
    item->section = section->number;
    item->gap = section->size - section->recorded_size;
    section->recorded_size = section->size + size;
    return item;
}

static void set_source(LayoutItem *item, const ExprValue &value)
{
    item->source = value.cell;
    item->addend = value.value - layout_record.values[value.cell];
}

uint32_t record_location()
{
    if (!recording || !current_section->moves)
        return 0;
    const uint32_t cell = new_cell(nullptr, current_location());
    add_step(LayoutStep::PLACE, 0)->target = cell;
    return cell;
}

static uint32_t add_computation(int32_t token, uint32_t left, uint32_t right)
{
    const std::vector<uint32_t> &values = layout_record.values;
    LayoutItem *item = add_item(LayoutStep::COMPUTE);
    item->detail = static_cast<uint8_t>(token);
    item->source = left;
    item->addend = right;
    return item->target = new_cell(nullptr, compute(token, values[left], values[right]));
}

// A cell that holds the value itself.
static uint32_t exact_cell(const ExprValue &value)
{
    const uint32_t addend = value.value - layout_record.values[value.cell];
    if (addend == 0)
        return value.cell;
    const uint32_t constant = new_cell(nullptr, addend);
    return value.cell == 0 ? constant : add_computation(TOK_PLUS, value.cell, constant);
}

uint32_t record_computation(int32_t token, const ExprValue &left, const ExprValue &right)
{
    if (!recording || (left.cell | right.cell) == 0)
        return 0;
    // What is constant in a sum needs no step: it is in the addend of what uses the sum.
    if (token == TOK_PLUS || token == TOK_MINUS) {
        if (right.cell == 0)
            return left.cell;
        return token == TOK_PLUS && left.cell == 0 ? right.cell
                                                   : add_computation(token, left.cell, right.cell);
    }
    if (token == TOK_SLASH || token == TOK_PERCENT) {
        if (right.value == 0) {
            spoiled = true;
            return 0;
        }
        record_decision(right, 1, UINT32_MAX);
    }
    const uint32_t left_cell = exact_cell(left);
    return add_computation(token, left_cell, exact_cell(right));
}

bool record_early_distance(const ExprValue &left, const ExprValue &right)
{
    if (!recording || !is_sizing())
        return false;
    early_distances.push_back(
        {{left.symbol, left.section_number}, {right.symbol, right.section_number}});
    return true;
}

void record_decision(const ExprValue &value, uint32_t lowest, uint32_t highest)
{
    if (!recording || value.cell == 0)
        return;
    LayoutItem *item = add_item(LayoutStep::GUARD);
    set_source(item, value);
    item->addend -= lowest;
    item->target = highest - lowest;
}

void record_use(const ExprValue &value)
{
    record_decision(value, value.value, value.value);
}

// From here on the symbol is read with this value.
static void set_cell(const Symbol *symbol, uint32_t value)
{
    if (symbol->cell != 0)
        layout_record.values[symbol->cell] = value;
}

void record_label(Symbol *symbol)
{
    if (!recording)
        return;
    if (current_section->moves)
        add_step(LayoutStep::LABEL, 0)->target = cell_of(symbol);
    set_cell(symbol, current_location());
}

static void add_definition(LayoutStep step, Symbol *symbol, const ExprValue &value)
{
    const uint32_t cell = cell_of(symbol);
    LayoutItem *item = add_item(step);
    set_source(item, value);
    item->target = cell;
}

static uint32_t code_cell(Symbol *symbol)
{
    const auto [place, is_new] = code_cells.try_emplace(symbol, 0);
    if (is_new)
        place->second = new_cell(symbol, cell_value(symbol, true), true);
    return place->second;
}

// An equate of a place takes ATTR_CODE over from its base. In a chain of equates in reverse order
// it comes one equate further in each pass, as the value does.
static void record_inherited_code(Symbol *symbol, Symbol *base)
{
    if (base == nullptr || ((symbol->attrs | base->attrs) & ATTR_CODE))
        return;
    if (is_defined_in_this_pass(base) && !code_cells.contains(base))
        return;
    const uint32_t source = code_cell(base);
    LayoutItem *item = add_item(LayoutStep::ASSIGN);
    item->source = source;
    item->target = code_cell(symbol);
}

// Whether the value is that of an alias and a constant.
static bool is_alias_of_alias(const ExprValue &value)
{
    const Symbol *base = layout_record.symbols[value.cell];
    constexpr uint16_t KIND = SYM_ALIAS | SYM_BIT | SYM_WEAK | SYM_LITERAL;
    return base != nullptr && (base->flags & KIND) == SYM_ALIAS && value.section_number == 0 &&
           value.reloc == RELOC_NORMAL;
}

void record_equate(Symbol *symbol, const ExprValue &value)
{
    if (!recording)
        return;
    // What stands below will have a place in the next pass, and then its equate is no alias.
    spoiled = spoiled || (is_sizing() && value.section_number == 0);
    record_inherited_code(symbol, value.symbol);
    if (value.cell != 0) {
        add_definition(LayoutStep::EQUATE, symbol, value);
        if (is_alias_of_alias(value)) {
            layout_record.items.back().detail = 1;
            --layout_record.reads[value.cell];
        }
    }
    set_cell(symbol, value.value);
}

void record_assignment(Symbol *symbol, const ExprValue &value)
{
    if (!recording)
        return;
    const bool assigned_again = symbol->cell != 0 && (symbol->flags & SYM_SET);
    if (value.cell != 0 || assigned_again)
        add_definition(LayoutStep::ASSIGN, symbol, value);
    set_cell(symbol, value.value);
}

void record_reserve(const ExprValue &count, uint32_t item_size)
{
    if (!recording || count.cell == 0)
        return;
    if (in_offset_section()) {
        record_use(count);
        return;
    }
    LayoutItem *item = add_step(LayoutStep::RESERVE, count.value * item_size);
    item->detail = static_cast<uint8_t>(item_size);
    set_source(item, count);
    current_section->moves = true;
}

void record_alignment(uint32_t alignment, uint32_t size)
{
    if (recording && current_section->moves)
        add_step(LayoutStep::ALIGN, size)->addend = alignment;
}

// Whether an `org` here moves the section itself, and with it what stands ahead without a size.
static bool org_moves_section()
{
    return current_section->size == 0 && (current_section->attributes & SECATTR_ABS);
}

void record_org(const ExprValue &address, uint32_t size)
{
    if (!recording || (!current_section->moves && address.cell == 0))
        return;
    if (org_moves_section()) {
        spoiled = spoiled || current_section->moves;
        record_use(address);
        return;
    }
    set_source(add_step(LayoutStep::ORG, size), address);
    // After a fixed address nothing moves but what may hop through a jump ahead of it.
    current_section->moves = true;
}

// What the branch is relative to must be the symbol itself: of a sum of several the next pass may
// make something else.
static void note_forward_branch(const ExprValue &target)
{
    if (!lacks_definition(target.symbol))
        return;
    spoiled = spoiled || target.cell == 0 || target.cell != target.symbol->cell;
    const auto step = static_cast<uint32_t>(layout_record.items.size() - 1);
    layout_record.forward_branches.push_back({step, target.symbol});
}

void record_branch(uint8_t branch, const ExprValue &value, uint32_t size, bool serves_others)
{
    if (!recording)
        return;
    const bool is_open = value.cell != 0 || current_section->moves;
    if (!is_open && !serves_others)
        return;
    LayoutItem *item = add_step(LayoutStep::BRANCH, size);
    item->detail = branch;
    set_source(item, value);
    current_section->moves = is_open;
    if (is_sizing())
        note_forward_branch(value);
}

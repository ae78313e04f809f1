// An alphabetical table, two lines or more for each symbol.

#include "listing/symbol_listing.h"

#include "base/byte_stream.h"
#include "base/number.h"
#include "expr/cross_reference.h"
#include "expr/symbol_table.h"
#include <algorithm>
#include <cstring>
#include <string_view>
#include <vector>

// Width of the name column.
static int symbol_column_width;

// The words for bits 0 to 4 of Symbol::attrs. The second stands for its bit being clear.
static const char *const attribute_names[] = {"Defined", "Not Referenced", "Public", "Zero Page",
                                              "Absolute"};

constexpr int NUMBERS_IN_ROW = 10;
constexpr size_t LITERAL_WIDTH = 9;

static bool precedes(const Symbol *a, const Symbol *b)
{
    return std::string_view(a->name, a->name_length) < std::string_view(b->name, b->name_length);
}

// Sorts the list by the bytes of the names, equal names in their present order, and sets the width
// of the name column. The width is that of the longest name, where a name that is last before the
// sorting and after it doesn't count.
static void sort_symbols()
{
    std::vector<Symbol *> symbols;
    for (Symbol *symbol = symbol_list; symbol != nullptr; symbol = symbol->next)
        symbols.push_back(symbol);
    const Symbol *last_before = symbols.empty() ? nullptr : symbols.back();
    std::stable_sort(symbols.begin(), symbols.end(), precedes);

    int widest = 0;
    for (const Symbol *symbol : symbols) {
        if (symbol != last_before || symbol != symbols.back())
            widest = std::max<int>(widest, symbol->name_length);
    }
    symbol_column_width = widest + 2;
    Symbol **link = &symbol_list;
    for (Symbol *symbol : symbols) {
        *link = symbol;
        link = &symbol->next;
    }
    *link = nullptr;
}

static void print_literal(ByteStream *stream, const Symbol *symbol)
{
    const size_t length = std::strlen(symbol->literal);
    const size_t padding = length <= LITERAL_WIDTH ? LITERAL_WIDTH - length : 0;
    print_to(stream, "\"%s\"%*s", symbol->literal, static_cast<int>(padding), "");
}

static void print_state(ByteStream *stream, const Symbol *symbol)
{
    if (symbol->multiply_defined)
        stream_put_text(stream, " Multiply");
    else if (symbol->def_line == 0 && (symbol->attrs & ATTR_DEFINED) == 0)
        stream_put_text(stream, " Not Defined");
}

static void print_attributes(ByteStream *stream, const Symbol *symbol)
{
    const uint8_t shown = symbol->attrs ^ ATTR_REFERENCED;
    const char *separator = " ";
    for (unsigned bit = 0; bit < std::size(attribute_names); ++bit) {
        if ((shown >> bit & 1) == 0)
            continue;
        stream_put_text(stream, separator);
        stream_put_text(stream, attribute_names[bit]);
        if (bit == 0 && (symbol->flags & SYM_WEAK))
            stream_put_text(stream, " Weak");
        separator = ", ";
    }
}

// A line number, right-aligned.
static void put_number(ByteStream *stream, uint32_t line, size_t width)
{
    char room[UINT8_MAX + 32]; // a column as wide as the longest name, and a number
    stream_put_text(stream, {room, write_number(room, static_cast<int32_t>(line), width)});
}

// The definition is the first number of the first row, the uses follow.
static void print_lines(ByteStream *stream, const Symbol *symbol)
{
    const int width = symbol_column_width + 6;
    if (symbol->def_line != 0 && !symbol->multiply_defined) {
        stream_put_text(stream, "\n");
        put_number(stream, symbol->def_ordinal, static_cast<size_t>(width));
    } else {
        print_to(stream, "\n%*s", width, "***");
    }
    int in_row = 1;
    for (const XrefChunk *chunk = symbol->xref.head; chunk != nullptr; chunk = chunk->next) {
        for (uint16_t i = 0; i < chunk->count; ++i) {
            if (in_row == NUMBERS_IN_ROW) {
                print_to(stream, "\n%*s", symbol_column_width, "");
                in_row = 0;
            }
            put_number(stream, chunk->lines[i], 6);
            ++in_row;
        }
    }
    stream_put_text(stream, "\n");
}

// As by %-*.*s, which ends at a zero byte.
static void print_name(ByteStream *stream, const Symbol *symbol)
{
    const std::string_view name = symbol_name(*symbol);
    const size_t length = std::min(name.find('\0'), name.size());
    const auto width = static_cast<size_t>(symbol_column_width);
    stream_put_text(stream, name.substr(0, length));
    stream_fill(stream, ' ', static_cast<uint32_t>(std::max(width, length) - length + 1));
}

static void print_symbol(ByteStream *stream, const Symbol *symbol)
{
    print_name(stream, symbol);
    if (symbol->flags & SYM_LITERAL) {
        print_literal(stream, symbol);
    } else {
        char value[16];
        char *end = write_hex(value, symbol->value, 8);
        stream_put_text(stream, {value, std::fill_n(end, 3, ' ')});
    }
    print_state(stream, symbol);
    print_attributes(stream, symbol);
    print_lines(stream, symbol);
}

void list_symbols(ByteStream *stream)
{
    sort_symbols();
    stream_put_text(stream, "\nSymbol table:\n\n");
    for (const Symbol *symbol = symbol_list; symbol != nullptr; symbol = symbol->next) {
        if ((symbol->flags & (SYM_REGISTER | SYM_IN_DEBUG | SYM_LOCAL)) == 0)
            print_symbol(stream, symbol);
    }
}

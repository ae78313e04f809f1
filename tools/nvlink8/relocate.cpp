// The meaning of each kind of relocation stands in docs/object-format.md. The fields of bytes and
// words hold the low bits of an addend and nothing else of it is known, so a value fits if either
// reading of the addend, without a sign or with one, gives one that fits.
#include "nvlink8/relocate.h"

#include "nvlink8/placement.h"
#include <algorithm>

static constexpr uint32_t PAGE_BITS = 16;

// What a relocation is about.
struct Target {
    bool known = false;
    uint32_t base = 0; // the value is this plus the addend
    bool zero_page = false;
    bool bit = false;
};

struct PieceRelocator {
    Program &program;
    Messages &messages;
    const InputSection &piece;
    const InputObject &input;
    ObjectSection &section;
};

static const ObjectSymbol &record_of(const InputObject &input, uint32_t index)
{
    return input.object.symbols[index - input.object.sections.size() - 1];
}

static Target section_target(const PieceRelocator &relocator, uint32_t index)
{
    const Program &program = relocator.program;
    const uint8_t attributes = relocator.input.object.sections[index - 1].attributes;
    Target target;
    target.known = program.pieces[relocator.input.first_piece + index - 1].live;
    target.base = piece_base(program, relocator.piece.object, index);
    target.zero_page = attributes & SECATTR_ZPAGE;
    target.bit = attributes & SECATTR_BIT;
    if (target.bit)
        target.base *= 8;
    return target;
}

static Target symbol_target(const PieceRelocator &relocator, uint32_t index)
{
    const InputObject &input = relocator.input;
    const ObjectSymbol &record = record_of(input, index);
    const uint32_t number = input.symbols[index - input.object.sections.size() - 1];
    Target target;
    if (number == NONE)
        return target;
    const Symbol &symbol = relocator.program.symbols[number];
    target.known = is_in_program(relocator.program, symbol);
    target.base = symbol.value;
    target.zero_page = record.attrs & ATTR_ZPAGE;
    target.bit = record.attrs & ATTR_BIT;
    return target;
}

static Target target_of(const PieceRelocator &relocator, uint32_t index)
{
    if (index == 0) {
        Target target;
        target.known = true;
        return target;
    }
    if (index <= relocator.input.object.sections.size())
        return section_target(relocator, index);
    return symbol_target(relocator, index);
}

// "main.o: .text+0x12: main+0x4"
static std::string place_text(const PieceRelocator &relocator, const ObjectRelocation &relocation)
{
    return text("%s: %s+0x%x: %s", relocator.input.name.c_str(),
                escaped(relocator.section.name).c_str(), relocation.offset,
                index_name(relocator.input.object, relocation.index).c_str());
}

// Whether base + addend lies between both ends. The addend has `bits` bits; with the highest set it
// may be a negative number as well.
static bool fits(uint32_t base, uint32_t addend, uint32_t bits, int64_t first, int64_t last)
{
    // An absolute symbol may be a negative number, too.
    const int64_t value = int64_t{static_cast<int32_t>(base)} + addend;
    const int64_t negative = value - (int64_t{1} << bits);
    const bool ambiguous = addend >> (bits - 1) & 1;
    return (value >= first && value <= last) ||
           (ambiguous && negative >= first && negative <= last);
}

static void store(PieceRelocator *relocator, uint32_t offset, uint32_t size, uint32_t value)
{
    const bool high_first = relocator->section.attributes & SECATTR_HILO;
    for (uint32_t i = 0; i < size; ++i) {
        const uint32_t shift = 8 * (high_first ? size - 1 - i : i);
        relocator->section.contents[offset + i] = static_cast<uint8_t>(value >> shift);
    }
}

static void report_range(PieceRelocator *relocator, const ObjectRelocation &relocation,
                         uint32_t value, const char *problem)
{
    add_error(&relocator->messages, "%s: value 0x%x %s", place_text(*relocator, relocation).c_str(),
              value, problem);
}

static void relocate_byte(PieceRelocator *relocator, const ObjectRelocation &relocation,
                          const Target &target)
{
    const uint32_t value = target.base + relocation.addend;
    if (target.zero_page && !fits(target.base, relocation.addend, 8, 0, 0xFF)) {
        report_range(relocator, relocation, value,
                     "doesn't fit the byte of a zero page address, 0 to 0xff; place the section "
                     "into zpage, or write low(...) for its low byte");
    }
    store(relocator, relocation.offset, 1, value);
}

static void relocate_word(PieceRelocator *relocator, const ObjectRelocation &relocation,
                          const Target &target, bool checked)
{
    const uint32_t value = target.base + relocation.addend;
    if (checked && !fits(target.base, relocation.addend, 16, INT16_MIN, UINT16_MAX)) {
        report_range(relocator, relocation, value,
                     "doesn't fit a word, -0x8000 to 0xffff; write plow(...) for its low word, or "
                     "use callf, jpf or "
                     "ldf, which take three bytes");
    }
    store(relocator, relocation.offset, 2, value);
}

// Opcode and address, the address in one order in every section.
static void relocate_bit(PieceRelocator *relocator, const ObjectRelocation &relocation,
                         const Target &target)
{
    const uint32_t value = target.base + relocation.addend;
    const uint32_t address = value >> 3;
    if (address > UINT16_MAX) {
        report_range(relocator, relocation, value,
                     text("is a bit of 0x%x, and bit instructions reach 0 to 0xffff; place its "
                          "section lower",
                          address)
                         .c_str());
    }
    uint8_t *field = &relocator->section.contents[relocation.offset];
    field[0] = static_cast<uint8_t>(field[0] + 2 * (value & 7));
    field[1] = static_cast<uint8_t>(address >> 8);
    field[2] = static_cast<uint8_t>(address);
}

static uint32_t check_distance(const PieceRelocator &relocator, const ObjectRelocation &relocation)
{
    uint32_t distance = relocation.addend_high;
    const auto sections = relocator.input.object.sections.size();
    if (relocation.index <= sections)
        return distance;
    // Values that go by a weak definition count from it, and this distance was taken from where the
    // object has it.
    const ObjectSymbol &record = record_of(relocator.input, relocation.index);
    if (is_weak_definition(record))
        distance += record.value;
    return distance;
}

static void check_page(PieceRelocator *relocator, const ObjectRelocation &relocation,
                       const Target &target)
{
    const uint32_t value = target.base + check_distance(*relocator, relocation);
    const uint32_t place = relocator->piece.address + relocation.offset;
    if (value >> PAGE_BITS == place >> PAGE_BITS)
        return;
    add_error(&relocator->messages,
              "%s: value 0x%x lies in another 64 KiB than the place, 0x%x; use callf or jpf",
              place_text(*relocator, relocation).c_str(), value, place);
}

static bool is_third_byte_ahead(const ObjectRelocation *before, const ObjectRelocation &relocation)
{
    return before != nullptr && (before->kind & ~RELOC_KIND_MODIFIER) == RK_PAGE_BYTE &&
           before->offset + 1 == relocation.offset;
}

static bool is_check_ahead(const ObjectRelocation *before, const ObjectRelocation &relocation)
{
    return before != nullptr && (before->kind & ~RELOC_KIND_MODIFIER) == RK_CHECK &&
           before->offset == relocation.offset;
}

// A word that is the lower part of a far address, or whose page a check has looked at, has no more
// to hold than 16 bits.
static bool is_checked_word(const ObjectRelocation *before, const ObjectRelocation &relocation)
{
    return !is_third_byte_ahead(before, relocation) && !is_check_ahead(before, relocation);
}

static void relocate_field(PieceRelocator *relocator, const ObjectRelocation &relocation,
                           const ObjectRelocation *before, const Target &target)
{
    const uint32_t value = target.base + relocation.addend;
    const uint32_t offset = relocation.offset;
    switch (relocation.kind & ~RELOC_KIND_MODIFIER) {
    case RK_BYTE:
        relocate_byte(relocator, relocation, target);
        break;
    case RK_WORD:
        relocate_word(relocator, relocation, target, is_checked_word(before, relocation));
        break;
    case RK_LONG:
    case RK_LONG_ALT:
        store(relocator, offset, 4, value);
        break;
    case RK_HIGH:
    case RK_PHIGH:
        store(relocator, offset, 1, value >> 8);
        break;
    case RK_PAGE_BYTE:
        store(relocator, offset, 1, value >> PAGE_BITS);
        break;
    case RK_PAGE_WORD:
        store(relocator, offset, 2, value >> PAGE_BITS);
        break;
    case RK_PLOW:
        store(relocator, offset, 2, value);
        break;
    case RK_BIT:
        relocate_bit(relocator, relocation, target);
        break;
    case RK_CHECK:
        check_page(relocator, relocation, target);
        break;
    default:
        break; // the reader has refused other kinds
    }
}

static void relocate_item(PieceRelocator *relocator, const ObjectRelocation &relocation,
                          const ObjectRelocation *before)
{
    const Target target = target_of(*relocator, relocation.index);
    if (!target.known)
        return;
    const uint8_t kind = relocation.kind & static_cast<uint8_t>(~RELOC_KIND_MODIFIER);
    if (target.bit && kind != RK_BIT && kind != RK_CHECK) {
        add_error(&relocator->messages, "%s: a bit has no address; only bit instructions take it",
                  place_text(*relocator, relocation).c_str());
        return;
    }
    relocate_field(relocator, relocation, before, target);
}

void relocate(Program *program, Messages *messages)
{
    for (const InputSection &piece : program->pieces) {
        if (!piece.live || !piece.has_room)
            continue;
        InputObject &input = program->objects[piece.object];
        ObjectSection &section = input.object.sections[piece.number - 1];
        PieceRelocator relocator{*program, *messages, piece, input, section};
        const ObjectRelocation *before = nullptr;
        for (const ObjectRelocation &relocation : section.relocations) {
            relocate_item(&relocator, relocation, before);
            before = &relocation;
        }
    }
}

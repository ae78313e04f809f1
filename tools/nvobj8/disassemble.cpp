// First the declarations and the numbers with names, then section by section its lines. A line may
// name any address of any section, and the labels for that are made on the way; so the lines are
// put together first, each with its offset, and written with the labels when all are known.

#include "nvobj8/disassemble.h"

#include "nvobj8/code_map.h"
#include "nvobj8/instruction_text.h"
#include "nvobj8/program.h"
#include <algorithm>
#include <array>
#include <cstdio>

constexpr size_t INDENT = 8;
constexpr size_t COMMENT_COLUMN = 40;

struct Line {
    uint32_t offset;
    std::string text; // as it is written, with its end
};

// The lines of a section, in order.
struct Lines {
    DisassembledProgram *program;
    DisassembledSection *section;
    std::vector<Line> lines;
};

static std::string indented(const std::string &text, const std::string &comment = "")
{
    std::string line = std::string(INDENT, ' ') + text;
    if (!comment.empty()) {
        line.resize(std::max(line.size() + 1, COMMENT_COLUMN), ' ');
        line += "; " + comment;
    }
    return line + "\n";
}

static std::string equate(const std::string &name, const std::string &value)
{
    return name + ": equ " + value + "\n";
}

static void add_line(Lines *lines, uint32_t offset, const std::string &text,
                     const std::string &comment = "")
{
    lines->lines.push_back({offset, indented(text, comment)});
}

static std::string byte_list(std::span<const uint8_t> bytes)
{
    std::string text;
    for (const uint8_t byte : bytes)
        text += (text.empty() ? "" : ",") + hex_number(byte);
    return text;
}

// Characters that may stand in a string and mean nothing else anywhere.
static bool is_plain_character(uint8_t byte)
{
    const auto c = static_cast<char>(byte);
    return byte >= ' ' && byte < 0x7F && std::string_view("\"'\\;/").find(c) == std::string::npos;
}

// How many bytes from the start are alike, or are text.
static size_t length_of_run(std::span<const uint8_t> bytes)
{
    const auto end =
        std::find_if(bytes.begin(), bytes.end(), [&](uint8_t byte) { return byte != bytes[0]; });
    return static_cast<size_t>(end - bytes.begin());
}

static size_t length_of_text(std::span<const uint8_t> bytes)
{
    const auto end = std::find_if_not(bytes.begin(), bytes.end(), is_plain_character);
    return static_cast<size_t>(end - bytes.begin());
}

constexpr size_t RUN_MIN = 16;
constexpr size_t TEXT_MIN = 4;
constexpr size_t TEXT_MAX = 64;
constexpr size_t LIST_MAX = 8;

// The next bytes that go into one line of the plain ones.
static size_t add_plain_line(Lines *lines, uint32_t offset, std::span<const uint8_t> bytes)
{
    const size_t run = length_of_run(bytes);
    if (run >= RUN_MIN) {
        add_line(lines, offset, "dcb.b   " + std::to_string(run) + "," + hex_number(bytes[0]));
        return run;
    }
    const size_t text = std::min(length_of_text(bytes), TEXT_MAX);
    if (text >= TEXT_MIN) {
        add_line(lines, offset,
                 "dc.b    \"" +
                     std::string(bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(text)) +
                     "\"");
        return text;
    }
    size_t size = std::min(LIST_MAX, bytes.size());
    for (size_t i = 1; i < size; ++i) {
        const auto rest = bytes.subspan(i);
        if (length_of_run(rest) >= RUN_MIN || length_of_text(rest) >= TEXT_MIN)
            size = i;
    }
    add_line(lines, offset, "dc.b    " + byte_list(bytes.first(size)));
    return size;
}

// Where plain bytes from `offset` on have to end because a label stands there.
static uint32_t next_label(const DisassembledSection &section, uint32_t offset, uint32_t end)
{
    if (const auto it = section.labels.upper_bound(offset); it != section.labels.end())
        end = std::min(end, it->first);
    if (const auto it = section.made_labels.upper_bound(offset); it != section.made_labels.end())
        end = std::min(end, *it);
    return end;
}

static void add_plain_bytes(Lines *lines, uint32_t offset, uint32_t end)
{
    const auto bytes = std::span(lines->section->section->contents);
    while (offset < end) {
        const uint32_t piece_end = next_label(*lines->section, offset, end);
        const auto piece = bytes.subspan(offset, piece_end - offset);
        offset += static_cast<uint32_t>(add_plain_line(lines, offset, piece));
    }
}

static const char *part_format(uint8_t kind, bool is_short)
{
    switch (kind) {
    case RK_BYTE:
        return is_short ? "dc.b    %s" : "dc.b    low(%s)";
    case RK_WORD:
        return "dc.w    %s";
    case RK_LONG:
        return "dc.l    %s";
    case RK_HIGH:
        return "dc.b    high(%s)";
    case RK_PAGE_BYTE:
        return "dc.b    page(%s)";
    case RK_PAGE_WORD:
        return "dc.w    page(%s)";
    case RK_PHIGH:
        return "dc.b    phigh(%s)";
    case RK_PLOW:
        return "dc.w    plow(%s)";
    default:
        return nullptr;
    }
}

// What of the value is in the object.
static int known_bits(const ObjectRelocation &relocation)
{
    return relocation.kind == RK_BYTE || relocation.kind == RK_WORD ? 8 * relocation.field_size
                                                                    : 32;
}

static std::string formatted(const char *format, const std::string &text)
{
    std::string result(format);
    return result.replace(result.find("%s"), 2, text);
}

static std::string unsaid(const Lines &lines, const ObjectRelocation &relocation)
{
    return std::string("no statement gives the relocation ") +
           relocation_kind_name(relocation.kind) +
           ((relocation.kind & RELOC_KIND_MODIFIER) ? "+16" : "") + " about " +
           index_name(lines.program->object, relocation.index) + "+" +
           hex_number(relocation.addend);
}

// Labels of symbols where no line can begin are equates, in the line after.
static void add_inner_labels(Lines *lines, uint32_t begin, uint32_t end)
{
    const auto &labels = lines->section->labels;
    for (auto it = labels.upper_bound(begin); it != labels.end() && it->first < end; ++it) {
        const std::string place = with_distance("*", static_cast<int32_t>(it->first - end));
        lines->lines.push_back({end, equate(lines->program->symbol_names[it->second], place)});
    }
}

static void add_relocated_field(Lines *lines, const ObjectRelocation &relocation)
{
    const uint32_t end = relocation.offset + relocation.field_size;
    std::optional<AddressText> address;
    if (part_format(relocation.kind, false) != nullptr)
        address = address_text(lines->program, relocation.index, relocation.addend,
                               known_bits(relocation));
    if (!address) {
        const auto bytes = std::span(lines->section->section->contents);
        const auto field = bytes.subspan(relocation.offset, relocation.field_size);
        add_line(lines, relocation.offset, field.empty() ? "" : "dc.b    " + byte_list(field),
                 unsaid(*lines, relocation));
    } else {
        const bool is_short = (address->attributes & ATTR_ZPAGE) != 0;
        add_line(lines, relocation.offset,
                 formatted(part_format(relocation.kind, is_short), address->text));
    }
    add_inner_labels(lines, relocation.offset, end);
}

// A check that belongs to no instruction. One of a plain number is about nothing, one of an
// absolute section can only be meant in the section itself.
static void add_check(Lines *lines, const ObjectRelocation &check)
{
    const DisassembledSection &section = *lines->section;
    std::optional<std::string> text;
    if (check.index == 0)
        text = hex_number(check.addend);
    else if (const auto address = checked_text(lines->program, check))
        text = address->text;
    else if (check.index == section.number)
        text = with_distance(
            "*", static_cast<int32_t>(check.addend - section.section->address - check.offset));
    if (text)
        add_line(lines, check.offset, ".scheck " + *text);
    else
        add_line(lines, check.offset, "", unsaid(*lines, check));
}

static void add_data(Lines *lines, uint32_t offset, uint32_t end)
{
    for (const ObjectRelocation &relocation :
         relocations_between(*lines->section->section, offset, end)) {
        add_plain_bytes(lines, offset, relocation.offset);
        offset = relocation.offset + relocation.field_size;
        if (is_check(relocation))
            add_check(lines, relocation);
        else
            add_relocated_field(lines, relocation);
    }
    add_plain_bytes(lines, offset, end);
}

static std::string bytes_comment(const DisassembledSection &section, uint32_t offset, uint32_t size)
{
    std::string text;
    char digits[16];
    std::snprintf(digits, sizeof digits, "%04x ", section.section->address + offset);
    text = digits;
    for (uint32_t i = 0; i < size; ++i) {
        std::snprintf(digits, sizeof digits, " %02x", section.section->contents[offset + i]);
        text += digits;
    }
    return text;
}

// Adds the instruction and gives where the next one begins.
static uint32_t add_instruction(Lines *lines, uint32_t offset)
{
    DisassembledSection *section = lines->section;
    const auto instruction = instruction_at(*section, offset);
    const uint32_t end = offset + instruction->size;
    const auto text = instruction_text(lines->program, section, offset, *instruction);
    if (!text) {
        add_line(lines, offset, "",
                 std::string(mnemonic_of(*instruction->row)) +
                     " in a form that its operands don't choose:");
        add_data(lines, offset, end);
        return end;
    }
    for (const ObjectRelocation &check :
         relocations_between(*section->section, offset, offset + 1)) {
        if (is_check(check))
            add_check(lines, check);
    }
    add_line(lines, offset, *text, bytes_comment(*section, offset, instruction->size));
    add_inner_labels(lines, offset, end);
    return end;
}

static void add_contents(Lines *lines)
{
    const auto &uses = lines->section->uses;
    const auto size = static_cast<uint32_t>(uses.size());
    for (uint32_t offset = 0; offset < size;) {
        if (uses[offset] == ByteUse::INSTRUCTION) {
            offset = add_instruction(lines, offset);
            continue;
        }
        uint32_t end = offset;
        while (end < size && uses[end] == ByteUse::DATA)
            ++end;
        add_data(lines, offset, end);
        offset = end;
    }
    for (const ObjectRelocation &check :
         relocations_between(*lines->section->section, size, UINT32_MAX))
        add_check(lines, check);
}

// Room between the labels of a bss section.
static void add_room(Lines *lines)
{
    const ObjectSection &section = *lines->section->section;
    for (uint32_t offset = 0; offset < section.size;) {
        const uint32_t limit =
            section.size - offset > INT32_MAX ? offset + INT32_MAX : section.size;
        const uint32_t end = next_label(*lines->section, offset, limit);
        add_line(lines, offset, "ds.b    " + std::to_string(end - offset));
        offset = end;
    }
}

static std::vector<Line> lines_of(DisassembledProgram *program, DisassembledSection *section)
{
    Lines lines = {program, section, {}};
    if (section->section->attributes & SECATTR_BSS)
        add_room(&lines);
    else
        add_contents(&lines);
    return std::move(lines.lines);
}

// Symbols that lie beyond the end of their section, and relocatable bits.
static std::string equates_at_end(const DisassembledProgram &program,
                                  const DisassembledSection &section)
{
    std::string text;
    const uint32_t end = section.section->size;
    const auto from_end = [end](uint32_t offset) {
        return with_distance("*", static_cast<int32_t>(offset - end));
    };
    for (auto it = section.labels.upper_bound(end); it != section.labels.end(); ++it)
        text += equate(program.symbol_names[it->second], from_end(it->first));
    for (size_t i = 0; i < program.object.symbols.size(); ++i) {
        const ObjectSymbol &symbol = program.object.symbols[i];
        if (symbol.section_number == section.number && is_bit_equate(program, symbol))
            text += equate(program.symbol_names[i],
                           from_end(symbol.value >> 3) + ":" + std::to_string(symbol.value & 7));
    }
    return text;
}

static std::string labels_at(const DisassembledProgram &program, const DisassembledSection &section,
                             uint32_t offset)
{
    std::string text;
    const auto [begin, end] = section.labels.equal_range(offset);
    for (auto it = begin; it != end; ++it)
        text += program.symbol_names[it->second] + ":\n";
    if (section.made_labels.contains(offset))
        text += made_name(program, section, offset) + ":\n";
    return text;
}

static std::string written(const DisassembledProgram &program, const DisassembledSection &section,
                           const std::vector<Line> &lines)
{
    std::string text;
    bool has_labels = false; // of the offset of the line ahead
    uint32_t last = 0;
    for (const Line &line : lines) {
        if (!has_labels || line.offset != last)
            text += labels_at(program, section, line.offset);
        has_labels = true;
        last = line.offset;
        text += line.text;
    }
    if (!has_labels || last != section.section->size)
        text += labels_at(program, section, section.section->size);
    return text;
}

static const std::pair<std::string_view, uint8_t> ATTRIBUTE_WORDS[] = {
    {"code", SECATTR_CODE}, {"abs", SECATTR_ABS},   {"bss", SECATTR_BSS}, {"zpage", SECATTR_ZPAGE},
    {"long", SECATTR_LONG}, {"even", SECATTR_EVEN}, {"bit", SECATTR_BIT},
};

// The attributes begin with hilo, and without any operand they would be those of .text.
static std::string attribute_words(uint8_t attributes)
{
    std::string text = attributes & SECATTR_HILO ? "hilo" : "-hilo";
    for (const auto &[word, bit] : ATTRIBUTE_WORDS) {
        if (attributes & bit)
            (text += ",") += word;
    }
    return text;
}

struct PredefinedSection {
    std::string_view name;
    uint8_t attributes;
};

static constexpr PredefinedSection PREDEFINED_SECTIONS[] = {
    {".text", SECATTR_CODE | SECATTR_HILO},
    {".data", SECATTR_HILO},
    {".bss", SECATTR_HILO | SECATTR_BSS},
    {".bsct", SECATTR_ZPAGE | SECATTR_HILO},
    {".ubsct", SECATTR_ZPAGE | SECATTR_HILO | SECATTR_BSS},
    {".debug", SECATTR_HILO},
};

static const PredefinedSection *find_predefined(std::string_view name)
{
    for (const PredefinedSection &row : PREDEFINED_SECTIONS) {
        if (row.name == name)
            return &row;
    }
    return nullptr;
}

// With `new` a name may be that of a section above, or of a predefined one with other attributes.
static std::string selection(const DisassembledProgram &program, const DisassembledSection &place)
{
    const ObjectSection &section = *place.section;
    const PredefinedSection *predefined = find_predefined(section.name);
    bool is_first = true;
    for (size_t i = 0; i + 1 < place.number; ++i)
        is_first &= program.sections[i].section->name != section.name;
    if (is_first && predefined != nullptr && predefined->attributes == section.attributes)
        return std::string(INDENT, ' ') + "switch  " + section.name + "\n";
    const bool is_new = !is_first || predefined != nullptr;
    std::string text = section.name + ": section " + (is_new ? "new," : "") +
                       attribute_words(section.attributes) + "\n";
    if ((section.attributes & SECATTR_ABS) && section.address != 0)
        text += indented("org     " + hex_number(section.address));
    return text;
}

// What the object says of a symbol beyond its place.
static std::string declaration(const DisassembledProgram &program, size_t position)
{
    const ObjectSymbol &symbol = program.object.symbols[position];
    if ((symbol.attrs & ATTR_PUBLIC) == 0)
        return "";
    const DisassembledSection *home = home_of(program, symbol);
    uint8_t declared = symbol.attrs;
    if (home != nullptr)
        declared &= static_cast<uint8_t>(~home->section->attributes);
    if (is_bit_equate(program, symbol))
        declared &= static_cast<uint8_t>(~ATTR_BIT);
    const std::string &name = program.symbol_names[position];
    std::string text;
    const auto declare = [&](const char *directive) { text += indented(directive + name); };
    if (declared & ATTR_BIT)
        declare((declared & ATTR_ZPAGE) ? "xbit.b  " : "xbit    ");
    else if (declared & ATTR_ZPAGE)
        declare("xref.b  ");
    if (declared & ATTR_LONG)
        declare("xref.l  ");
    if (is_weak_definition(symbol))
        declare("wdef    ");
    else if (text.empty())
        declare((symbol.attrs & ATTR_DEFINED) ? "xdef    " : "xref    ");
    return text;
}

// Public numbers; others have no use in the text.
static std::string number_equates(const DisassembledProgram &program)
{
    std::string text;
    for (size_t i = 0; i < program.object.symbols.size(); ++i) {
        const ObjectSymbol &symbol = program.object.symbols[i];
        constexpr uint8_t PUBLIC_NUMBER = ATTR_DEFINED | ATTR_PUBLIC | ATTR_ABSOLUTE;
        const bool is_number =
            (symbol.attrs & PUBLIC_NUMBER) == PUBLIC_NUMBER && symbol.section_number == 0;
        if (!is_number || home_of(program, symbol) != nullptr)
            continue;
        const std::string bit = ":" + std::to_string(symbol.value & 7);
        text += equate(program.symbol_names[i], is_bit_equate(program, symbol)
                                                    ? hex_number(symbol.value >> 3) + bit
                                                    : hex_number(symbol.value));
    }
    return text;
}

// A symbol that is marked as referenced where nothing above refers to it, and an empty section that
// would be left out.
static std::string last_references(DisassembledProgram *program)
{
    std::string text;
    size_t count = 0;
    const auto refer = [&](const std::string &name) {
        text += equate(program->prefix + "_use_" + std::to_string(++count), name);
    };
    for (size_t i = 0; i < program->object.symbols.size(); ++i) {
        const ObjectSymbol &symbol = program->object.symbols[i];
        constexpr uint8_t PUBLIC_USE = ATTR_PUBLIC | ATTR_REFERENCED;
        if ((symbol.attrs & PUBLIC_USE) == PUBLIC_USE && !program->mentioned[i])
            refer(program->symbol_names[i]);
    }
    for (DisassembledSection &section : program->sections) {
        if (section.section->size == 0 && !is_text_section(*section.section) &&
            !(section.section->attributes & SECATTR_ABS))
            refer(made_name(*program, section, 0));
    }
    return text;
}

// One text of .misra. or .info., with as many strings as its quotes ask for; without a string the
// directive ends a line.
static std::string text_statements(const char *directive, std::string_view text, bool ended)
{
    std::string statements;
    while (!text.empty()) {
        const char quote = text[0] == '"' ? '\'' : '"';
        constexpr size_t STRING_MAX = 128;
        const std::string_view piece = text.substr(0, std::min(text.find(quote), STRING_MAX));
        statements += indented(std::string(directive) + " " + quote + std::string(piece) + quote);
        text.remove_prefix(piece.size());
    }
    return ended ? statements + indented(directive, "") : statements;
}

// The assembler itself writes the first and the last line of .info.
static std::string texts_of(const ObjectSection &section)
{
    const bool is_info = section.name == ".info.";
    std::string_view rest(reinterpret_cast<const char *>(section.contents.data()),
                          section.contents.size());
    if (is_info && !rest.empty()) {
        rest.remove_suffix(1);
        rest = rest.substr(0, rest.rfind('\0') + 1);
        rest.remove_prefix(std::min(rest.find('\0'), rest.size() - 1) + 1);
    }
    std::string text;
    while (!rest.empty()) {
        const size_t size = std::min(rest.find('\0'), rest.size());
        const bool ended = size < rest.size();
        text += text_statements(is_info ? ".info" : ".misra", rest.substr(0, size), ended);
        rest.remove_prefix(size + (ended ? 1 : 0));
    }
    return text;
}

static std::string first_lines(const DisassembledProgram &program)
{
    const auto &sections = program.object.sections;
    const bool has_info =
        std::any_of(sections.begin(), sections.end(),
                    [](const ObjectSection &section) { return section.name == ".info."; });
    std::string text = "; Made from an object; nvasm8 -b" + std::string(has_info ? "" : " -si") +
                       " makes one like it.\n";
    std::string declarations;
    for (size_t i = 0; i < program.object.symbols.size(); ++i)
        declarations += declaration(program, i);
    declarations += number_equates(program);
    return declarations.empty() ? text : text + "\n" + declarations;
}

static std::string section_text(DisassembledProgram *program, DisassembledSection *section)
{
    if (is_text_section(*section->section))
        return texts_of(*section->section);
    const std::vector<Line> lines = lines_of(program, section);
    return selection(*program, *section) + written(*program, *section, lines) +
           equates_at_end(*program, *section);
}

std::string disassemble(const ObjectFile &object)
{
    DisassembledProgram program = lay_out_program(object);
    find_code(&program);
    for (DisassembledSection &section : program.sections) {
        if (section.section->size == 0)
            section.made_labels.insert(0);
        lines_of(&program, &section);
    }
    std::string text = first_lines(program);
    const auto append = [&text](const std::string &part) {
        text += part.empty() ? part : "\n" + part;
    };
    for (DisassembledSection &section : program.sections)
        append(section_text(&program, &section));
    append(last_references(&program));
    return text;
}

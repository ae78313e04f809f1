// Every message has a row with what to do about it, and some with more: what the line holds, what
// stands elsewhere in the source, what the word could have meant.

#include "explain/notes.h"

#include "base/diagnostics.h"
#include "base/host.h"
#include "base/line_context.h"
#include "base/memory.h"
#include "base/number.h"
#include "base/position.h"
#include "base/settings.h"
#include "base/warnings.h"
#include "explain/foreign_words.h"
#include "explain/near_names.h"
#include "explain/statement_parts.h"
#include "explain/symbol_notes.h"
#include "expr/keyword_table.h"
#include "expr/lexer.h"
#include "expr/name_places.h"
#include "input/conditional.h"
#include "input/input_stack.h"
#include "input/line_origin.h"
#include "input/macro.h"
#include "output/resolver.h"
#include "target/operand_forms.h"
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

// What the line in hand stopped at: the cursor, or the token that was read and put back.
static size_t read_so_far()
{
    const char *start = statement_start();
    const auto place = static_cast<size_t>(line_cursor - start);
    if (line_cursor < start || place > LINE_ROOM)
        return NO_COLUMN; // in the text of a literal
    const std::string &text = statement_text();
    const bool has_token = token_ahead && *token_ahead != TOK_END && place <= text.size();
    return has_token ? token_start(text, place) : place;
}

// A message about a word has the caret below it.
static size_t caret_column(const char *message, std::string_view text, size_t column)
{
    if (column == NO_COLUMN)
        return column;
    const std::string &line = statement_text();
    if (std::strcmp(message, messages::BAD_COMMENT) == 0)
        return token_start(line, std::min(column, line.size()));
    if (std::strcmp(message, messages::UNKNOWN_INSTRUCTION) == 0 ||
        std::strcmp(message, messages::MULTIPLY_DEFINED) == 0) {
        const size_t word = line.find(text);
        return word != std::string::npos ? word : column;
    }
    return column;
}

static LineContext direct_place(const char *, std::string_view text)
{
    const Symbol *symbol = reported_symbol(text);
    return symbol != nullptr ? first_use_of(symbol) : LineContext{};
}

static std::string label_advice(const std::string &word)
{
    if (settings.opt_old_syntax)
        return "a label begins in the first column or ends in a colon: " + word + ":";
    return "a label ends in a colon: " + word + ":";
}

static std::string equate_advice(const std::string &name, std::string_view value)
{
    const size_t start = value.find_first_not_of(":= \t");
    return "a name gets its value by equ: " + name + ": equ " +
           std::string(start != std::string_view::npos ? value.substr(start) : "");
}

// What a word that is no operation may be by what follows it; empty if nothing tells.
static std::string advice_by_rest(const std::string &word, std::string_view rest)
{
    if (rest.starts_with('=') || rest.starts_with(":="))
        return equate_advice(word, rest);
    const StatementParts next = take_apart(rest);
    if (!next.word.empty() && find_keyword(next.stem) != nullptr)
        return label_advice(word) + ' ' + std::string(rest);
    if (advice_for_foreign_word(word).empty() && !advice_for_foreign_word(next.word).empty())
        return label_advice(word) + " and " + std::string(next.word) +
               " is a word of other assemblers; " + advice_for_foreign_word(next.word);
    if (next.label.empty() && !next.word.empty() && !next.rest.empty() && is_letter(next.rest[0]))
        return "if the line is a comment, put a `;` ahead of it";
    return {};
}

static Candidates keyword_names()
{
    static Candidates names;
    names.clear();
    visit_keywords([](const Keyword &keyword) { names.emplace_back(keyword_name(keyword)); });
    return names;
}

static std::string notes_on_unknown_word(std::string_view word)
{
    remember_unknown_word(word);
    const StatementParts parts = take_apart(statement_text());
    const std::string name(word);
    const std::string foreign = advice_for_foreign_word(word);
    const std::string by_rest = parts.label.empty() ? advice_by_rest(name, parts.rest) : "";
    std::string notes;
    if (!foreign.empty() && by_rest.empty())
        notes = note_line(name + " is a word of other assemblers; " + foreign);
    if (!foreign.empty() && (!parts.rest.empty() || name[0] == '.' || !by_rest.empty()))
        return notes + (by_rest.empty() ? "" : note_line(by_rest));
    if (!by_rest.empty())
        notes += note_line(by_rest);
    std::string guess = did_you_mean(near_names(word, keyword_names()));
    if (guess.empty() && parts.stem.size() != word.size())
        guess = did_you_mean(near_names(parts.stem, keyword_names()));
    if (!guess.empty() && foreign.empty() && by_rest.empty())
        notes += note_line(guess);
    if (parts.label.empty() && parts.rest.empty())
        notes += note_line(label_advice(name));
    if (notes.empty())
        notes = note_line("there is no instruction, directive or macro of this name; a macro must "
                          "be defined above its first call, a comment begins with `;`");
    return notes;
}

static std::string notes_on_not_defined(std::string_view name)
{
    const StatementParts parts = take_apart(statement_text());
    if (symbol_in_report == nullptr && lower(parts.word) == "switch")
        return notes_on_unknown_section(name);
    return notes_on_undefined(name);
}

static std::string notes_on_multiple(std::string_view name)
{
    return notes_on_second_definition(name, lower(take_apart(statement_text()).word));
}

// A bracket of one kind that has no counterpart.
static std::string notes_on_brackets(std::string_view rest)
{
    std::string notes;
    for (const auto &[pair, name] : {std::pair{"()", "parenthesis"}, std::pair{"[]", "bracket"}}) {
        const auto opened = std::ranges::count(rest, pair[0]);
        const auto closed = std::ranges::count(rest, pair[1]);
        if (opened > closed)
            notes += note_line(std::string("a closing ") + name + " is missing");
        else if (opened < closed)
            notes += note_line(std::string("an opening ") + name +
                               " is missing, or a closing one is "
                               "too much");
    }
    return notes;
}

static const Keyword *find_instruction(std::string_view stem)
{
    const Keyword *keyword = find_keyword(stem);
    return keyword != nullptr && (keyword->flags & KW_INSTRUCTION) ? keyword : nullptr;
}

static std::string notes_on_syntax(std::string_view)
{
    const StatementParts parts = take_apart(statement_text());
    std::string notes = notes_on_brackets(parts.rest);
    if (notes.empty() &&
        (parts.rest.empty() || parts.rest.back() == ',' || parts.rest.back() == '#'))
        notes += note_line("an operand is missing at the end of the line");
    if (parts.rest.find('\\') != std::string_view::npos)
        notes +=
            note_line("a `\\` that is left in a line is no parameter of the macro: parameters "
                      "are named on the line `macro` (name: macro \\a,\\b), or are \\1, \\2...");
    if (const Keyword *instruction = find_instruction(parts.stem))
        notes += forms_note(instruction->opcodes, parts.first_operand);
    return notes;
}

// What is special about text after a complete statement; empty if nothing is.
static std::string notes_on_rest(const StatementParts &parts)
{
    if (lower(parts.word) == "macro")
        return note_line("parameters are written with a backslash and parted by commas: macro "
                         "\\first,\\second; a comment begins with `;`");
    if (parts.word.empty() && (parts.rest.starts_with('=') || parts.rest.starts_with(":=")))
        return note_line(equate_advice(std::string(parts.label), parts.rest));
    const std::string rest = lower(parts.rest);
    if (rest.find('(') == std::string::npos &&
        (rest.ends_with(",x") || rest.ends_with(",y") || rest.ends_with(",sp")))
        return note_line("an indexed operand stands in parentheses: (offset,x)");
    return notes_on_brackets(parts.rest);
}

static std::string notes_on_comment(std::string_view)
{
    StatementParts parts = take_apart(statement_text());
    if (parts.label.empty() && parts.rest.starts_with(":=")) {
        parts.label = parts.word;
        parts.word = {};
    }
    std::string notes = notes_on_rest(parts);
    if (notes.empty())
        notes =
            note_line("the statement is complete ahead of the caret: if the rest is a comment, put "
                      "a `;` ahead of it, otherwise a comma or an operator is missing");
    const Keyword *instruction = find_instruction(parts.stem);
    if (instruction != nullptr && operand_forms(instruction->opcodes).front().empty())
        notes += forms_note(instruction->opcodes, {});
    return notes;
}

static std::string notes_on_unclosed_if(std::string_view)
{
    std::string notes;
    for (const LineContext &opening : open_conditionals()) {
        notes += note_line("opened at " + place_of(opening));
        notes += note_line("  " + opening.text);
    }
    return notes + note_line("each if needs an endif of its own, in the same file");
}

static std::string notes_on_no_if(std::string_view)
{
    std::string notes = note_line("no if is open here that this line could belong to");
    if (!last_closed_conditional().empty())
        notes += note_line("the last one began at " + last_closed_conditional());
    return notes + note_line("remove the line, or look for an if that is missing above");
}

static std::string directory_of(const std::string &name)
{
    const size_t end = name.rfind(path_separator);
    return end != std::string::npos ? name.substr(0, end + 1) : "";
}

static std::string notes_on_file(std::string_view name)
{
    if (const auto again = repeated_input())
        return note_line(again->text) +
               note_line("files can't include themselves without end: put ifndef NAME, NAME: equ 1 "
                         "and endif around what is in it");
    const std::string path(name);
    const std::string directory = directory_of(path);
    std::string notes =
        note_line("looked for in " + (directory.empty() ? "the working directory" : directory) +
                  (settings.include_list.count != 0 ? " and in:" : ""));
    std::vector<std::string> files =
        matching_files(directory, "*").value_or(std::vector<std::string>());
    for (int32_t i = 0; i < settings.include_list.count; ++i) {
        const std::string item = settings.include_list.items[i];
        notes += note_line("  " + item);
        const auto more = matching_files(item + path_separator, "*");
        if (more)
            files.insert(files.end(), more->begin(), more->end());
    }
    const std::string guess = did_you_mean(near_names(path.substr(directory.size()), files));
    if (!guess.empty())
        notes += note_line(guess);
    return notes + note_line("correct the name, or name the directory of the file with -i");
}

static std::string notes_on_missing_name(std::string_view)
{
    const StatementParts parts = take_apart(statement_text());
    if (lower(parts.word) == "section")
        return note_line("to make a section write `name: section`, to go on in one `switch " +
                         std::string(parts.rest.empty() ? ".text" : parts.rest) + "`");
    return note_line(
        "a name is missing: it stands ahead of the word, with a colon, or as the operand");
}

static std::string notes_on_string(std::string_view)
{
    return note_line(
        "the string has no end quote on this line; nothing escapes a quote, but \" may "
        "stand between ' and ' between \"");
}

// The macro whose line is at hand.
static std::string macro_in_hand()
{
    for (const InputLevel &level : input_levels()) {
        if (level.expansion != nullptr && !level.expansion->name.empty())
            return std::string(level.expansion->name);
    }
    return {};
}

static std::string notes_on_parameter(std::string_view name)
{
    std::vector<std::string> names;
    for (const InputLevel &level : input_levels()) {
        if (level.expansion != nullptr) {
            names = parameter_names(*level.expansion);
            break;
        }
    }
    std::string notes;
    const std::string guess = did_you_mean(near_names(name, names));
    if (!guess.empty())
        notes += note_line(guess);
    std::string list;
    for (const std::string &parameter : names)
        list += (list.empty() ? "\\" : ", \\") + parameter;
    const std::string macro = macro_in_hand();
    return notes + note_line((macro.empty() ? "the repeat" : "macro " + macro) +
                             " has the parameters " + list);
}

static std::string notes_on_number(std::string_view)
{
    const std::string macro = macro_in_hand();
    return note_line("the call gives fewer arguments than the body uses: add the missing one" +
                     (macro.empty() ? "" : " to the call of " + macro) +
                     ", or test \\#, the number of arguments, in the body");
}

static std::string notes_on_relocatable(std::string_view)
{
    return note_line(
        "addresses are known to the linker alone: address+number, address-number and the "
        "difference of two labels of one section can be computed here, nothing else; and "
        "names that are not defined yet count as addresses");
}

struct NoteRow {
    const char *message;
    std::string (*make)(std::string_view text); // or null
    const char *advice;                         // or null
};

static constexpr NoteRow note_rows[] = {
    {messages::UNKNOWN_INSTRUCTION, notes_on_unknown_word, nullptr},
    {messages::NOT_DEFINED, notes_on_not_defined, nullptr},
    {messages::MULTIPLY_DEFINED, notes_on_multiple, nullptr},
    {messages::SYNTAX_ERROR, notes_on_syntax, nullptr},
    {messages::BAD_COMMENT, notes_on_comment, nullptr},
    {messages::CANT_OPEN, notes_on_file, nullptr},
    {messages::BAD_RELOCATABLE, notes_on_relocatable, nullptr},
    {"unclosed if", notes_on_unclosed_if, nullptr},
    {"bad endif", notes_on_no_if, nullptr},
    {"bad else", notes_on_no_if, nullptr},
    {"bad string constant", notes_on_string, nullptr},
    {"unknown macro argument %.*s", notes_on_parameter, nullptr},
    {"bad argument number", notes_on_number, nullptr},
    {"bad file name", nullptr, "write the name in quotes: include \"file.inc\""},
    {"bad literal definition", nullptr, "write: NAME: lit \"text\""},
    {messages::MISSING_LABEL, notes_on_missing_name, nullptr},
    {messages::MISSING_STRING, nullptr,
     "ifc and ifnc compare two texts in quotes; ifdef, ifndef and defined() take a name"},
    {messages::BAD_CONSTANT, nullptr,
     "$ or 0x begins a hexadecimal number, % a binary one, @ an octal one; h, b, q, d at the end "
     "say "
     "the same"},
    {messages::BAD_INDEX_REGISTER, nullptr, "index registers are x, y and sp: (x), (5,y), (3,sp)"},
    {messages::BAD_SYMBOL_NAME, nullptr,
     "names begin with a letter, _ or a dot, and are no name of a register"},
    {messages::RELOCATABLE_NOT_ALLOWED, nullptr,
     "a plain number is needed: addresses get theirs from the linker, and a name counts as an "
     "address until its equ has been read"},
    {messages::VALUE_TOO_LARGE, nullptr, nullptr},
    {messages::ZERO_DIVIDE, nullptr, "the right side of / or % is 0"},
    {messages::INVALID_BIT_NUMBER, nullptr, "bits have the numbers 0 to 7"},
    {"bad size extension", nullptr, "after a pointer stands .w or .e: [pointer.w]"},
    {"bad character constant", nullptr, "as a number, a text has at most 4 characters"},
    {"string constant too long", nullptr, "a text has at most 256 characters: write two of them"},
    {"misplaced macro directive", nullptr, "macros can't be defined in a repeat: is endr missing?"},
    {"no macro in expansion", nullptr, "mexit leaves a macro and means nothing outside of one"},
    {"no repeat in expansion", nullptr, "rexit leaves a repeat and means nothing outside of one"},
    {"missing argument name", nullptr, "a parameter is a backslash and a name: \\count"},
    {"missing save directive", nullptr,
     "restore goes back to what save has remembered: write save"},
    {"cannot move back current pc", nullptr,
     "org goes forward only; to begin at another address, begin another section"},
    {"illegal size", nullptr, "ds reserves one item or more"},
    {"illegal alignment", nullptr, "align takes a number of bytes above 0"},
    {"illegal fill value", nullptr, "bytes are -256 to 255"},
    {"invalid base", nullptr, "the base of numbers is 2, 8, 10 or 16"},
    {"unknown attribute %.*s", nullptr,
     "the attributes are abs, bit, bss, code, even, hilo, long, zpage and new, or the name of a "
     "section that lends its own"},
    {"section name %.*s too long", nullptr, "names of sections have at most 14 characters"},
    {"too many arguments", nullptr, "a call has at most 63 arguments"},
    {"too many embedded literals", nullptr, "literals that stand in literals, or in themselves"},
    {"labels do not settle", nullptr,
     "a condition, repeat or org depends on a label below that it moves itself: make it depend on "
     "equ or on labels above"},
    {"recursive definition of symbol %.*s", nullptr,
     "the value of a name can't be made of the name"},
};

static std::string notes_on(const char *message, std::string_view text)
{
    if (!settings.explain)
        return {};
    for (const NoteRow &row : note_rows) {
        if (std::strcmp(row.message, message) != 0)
            continue;
        if (row.make != nullptr)
            return row.make(text);
        return row.advice != nullptr ? note_line(row.advice) : std::string();
    }
    return {};
}

// Memory ends mostly because something calls itself without end.
static void explain_exhaustion()
{
    const auto again = repeated_input();
    if (!again)
        return;
    std::string text;
    if (settings.warn)
        text += warning_head(again->place.file, again->place.line) + again->name +
                " calls itself without end\n";
    if (settings.explain)
        text +=
            note_line(again->text) + note_line("a macro that calls itself must come to an end: put "
                                               "the call behind an if that is false at last");
    std::fputs(text.c_str(), stderr);
}

void install_notes()
{
    set_line_witnesses(line_origin, read_so_far);
    set_note_maker({notes_on, direct_place, caret_column});
    set_exhaustion_epilogue(explain_exhaustion);
}

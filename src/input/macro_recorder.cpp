// Records the bodies of macros and repeats. Macro bodies are stored in the sizing pass and skipped
// in the others; repeat bodies are stored in every pass and freed when the repeat ends.

#include "driver/memory.h"
#include "driver/number.h"
#include "driver/passes.h"
#include "expr/evaluator.h"
#include "expr/keyword_table.h"
#include "expr/lexer.h"
#include "input/conditional.h"
#include "input/input_stack.h"
#include "input/macro.h"
#include "input/macro_expansion.h"
#include "listing/diagnostics.h"
#include "listing/listing.h"
#include "stmt/source_directives.h"
#include <cstring>
#include <string>

// Where the next recorded line is linked; none while nothing is recorded.
static BodyLine **body_tail;

// The lines of the repeat being recorded.
static BodyLine *repeat_body;

// repeat_code is 0 while no repeat is recorded, LIST_FORM for a list, else the count times 2, plus
// 1, so that a count of 0 isn't 0. No pass resets it: an empty list leaves LIST_FORM behind until
// the next repeat, and meanwhile a macro definition doesn't see its end, and in a later pass stores
// a new body over the one that stands.
//
// The nestings count the inner definitions that are open in the body being recorded. Nothing but
// their ends counts them down: what the end of the file leaves open is still open for the bodies of
// the next pass.
constexpr int32_t LIST_FORM = -1;
static RecordingState recording;

// Where a later pass records for a name that is no macro by then.
static BodyLine *discarded_body;

// Bodies that another has replaced. They may still be running, so they stay until the source file
// ends.
struct RetiredBody {
    RetiredBody *next;
    BodyLine *body;
};
static RetiredBody *retired_bodies;

BodyLine *new_body_line(const char *text, size_t length)
{
    auto *line = new_node<BodyLine>(nullptr, length + 1);
    line->text = reinterpret_cast<char *>(line + 1);
    std::memcpy(line->text, text, length);
    return line;
}

void free_body(BodyLine *body)
{
    while (body != nullptr)
        body = xfree(body, body->next);
}

RecordingState recording_state()
{
    return recording;
}

void restore_recording_state(const RecordingState &state)
{
    recording = state;
}

bool is_recording_body()
{
    return body_tail != nullptr;
}

void stop_recording()
{
    body_tail = nullptr;
}

void reset_macro_state()
{
    body_tail = nullptr;
    free_body(repeat_body);
    repeat_body = nullptr;
    reset_expansion_counter();
}

static void retire_body(BodyLine *body)
{
    auto *retired = new_node<RetiredBody>(retired_bodies);
    retired->body = body;
    retired_bodies = retired;
}

void free_retired_bodies()
{
    while (retired_bodies != nullptr) {
        free_body(retired_bodies->body);
        retired_bodies = xfree(retired_bodies, retired_bodies->next);
    }
}

static void store_line(BodyLine *line)
{
    if (*body_tail != nullptr)
        retire_body(*body_tail);
    *body_tail = line;
    body_tail = &line->next;
}

static bool is_parameter_character(char c)
{
    return is_letter(c) || is_digit(c) || c == '_' || c == '.';
}

// Reads the names "\a,\b" at the cursor into a line of its own: PARAMETER_LIST_MARK, then a length
// byte and the characters of each name, then a zero byte.
static BodyLine *read_parameter_names()
{
    const size_t room = std::strlen(line_cursor) + 2;
    auto *line = new_node<BodyLine>(nullptr, room);
    line->text = reinterpret_cast<char *>(line + 1);
    char *out = line->text;
    *out++ = PARAMETER_LIST_MARK;
    while (*line_cursor == '\\') {
        ++line_cursor;
        skip_blanks();
        const char *name = line_cursor;
        while (is_parameter_character(*line_cursor))
            ++line_cursor;
        const auto length = static_cast<size_t>(line_cursor - name);
        if (length == 0) {
            force_error("missing argument name", 0, nullptr);
        } else {
            // A name is counted in one byte; one too long for it keeps its head.
            const size_t kept = length < 255 ? length : 255;
            *out++ = static_cast<char>(kept);
            std::memcpy(out, name, kept);
            out += kept;
        }
        skip_blanks();
        if (*line_cursor != ',')
            break;
        ++line_cursor;
        skip_blanks();
    }
    return line;
}

void macro_directive(Keyword *, const char *label, uint32_t length)
{
    if (is_digit(label[0])) {
        force_error(messages[MSG_BAD_SYMBOL_NAME], length, label);
        return;
    }
    Keyword *keyword = find_keyword(label, length);
    if (keyword == nullptr) {
        keyword = add_keyword(label, length, 0, KW_MACRO);
    } else if (pass_number == 0) {
        if (keyword->flags & KW_MACRO) {
            force_error(messages[MSG_MULTIPLY_DEFINED], length, label);
            return;
        }
        // The macro overrides an instruction or a directive, which stays reachable behind it.
        shadow_keyword(keyword);
        keyword->flags = KW_MACRO;
        keyword->body = nullptr;
        keyword->argument = 1;
    }
    body_tail = keyword->flags & KW_MACRO ? &keyword->body : &discarded_body;
    skip_blanks();
    if (*line_cursor != '\\')
        return;
    BodyLine *names = read_parameter_names();
    if (pass_number == 0)
        store_line(names);
    else
        free_body(names);
}

// The list form "\name,list": gives the list, with the name stored as the parameter line. The comma
// is taken out of the line first, or the name's list would go on behind it.
static const char *read_list_parameter()
{
    const char *end = line_cursor + 1;
    while (*end == ' ' || *end == '\t')
        ++end;
    while (is_parameter_character(*end))
        ++end;
    while (*end == ' ' || *end == '\t')
        ++end;
    const std::string name(line_cursor, end);
    const char *list = *end == '\0' ? end : end + 1;
    line_cursor = name.c_str();
    store_line(read_parameter_names());
    return list;
}

void repeat_directive(Keyword *keyword, const char *, uint32_t)
{
    body_tail = &repeat_body;
    if (keyword->argument == 0) {
        ExprValue count;
        parse_expression(&count);
        if (count.reloc != RELOC_ABSOLUTE)
            record_error(MSG_BAD_RELOCATABLE);
        recording.repeat_code = static_cast<int32_t>(count.value * 2 + 1);
        return;
    }
    recording.repeat_code = LIST_FORM;
    skip_blanks();
    const char *list = *line_cursor == '\\' ? read_list_parameter() : line_cursor;
    BodyLine *line = new_body_line(list, std::strlen(list));
    line->next = repeat_body;
    repeat_body = line;
    if (line->next == nullptr)
        body_tail = &line->next;
    line_cursor = list;
    skip_line();
}

// Takes the list of a list form out of its body and runs the rest once for each item. None if there
// is no item.
static Expansion *start_list(BodyLine **body)
{
    BodyLine *list = *body;
    if (list == nullptr) // a count of -1 looks like a list, and nothing follows it
        return nullptr;
    auto *expansion = new_node<Expansion>(nullptr);
    expansion->arg_text = copy_text(list->text, std::strlen(list->text));
    *body = xfree(list, list->next);
    expand_macro(*body, expansion);
    if (expansion->arg_count == 0) {
        free_expansion(expansion);
        return nullptr;
    }
    expansion->repeats_left = expansion->arg_count;
    expansion->arg_count = 1;
    return expansion;
}

static Expansion *start_count(BodyLine *body, uint16_t count)
{
    auto *expansion = new_node<Expansion>(nullptr);
    expansion->arg_text = copy_text("", 0);
    expansion->call_number = next_call_number();
    expansion->position = body;
    expansion->repeats_left = count;
    expansion->cond_mark = mark_conditionals();
    return expansion;
}

// At the end of a repeat: its expansion, or none if there is nothing to run.
static Expansion *start_repeat(BodyLine **body)
{
    if (recording.repeat_code == LIST_FORM)
        return start_list(body);
    const int32_t count = recording.repeat_code >> 1;
    note_text_decision(static_cast<uint32_t>(count));
    recording.repeat_code = 0;
    return count != 0 ? start_count(*body, static_cast<uint16_t>(count)) : nullptr;
}

static void run_repeat()
{
    BodyLine *body = repeat_body;
    repeat_body = nullptr;
    body_tail = nullptr;
    list_state |= LIST_SKIP_LINE;
    Expansion *expansion = start_repeat(&body);
    if (expansion == nullptr) {
        free_body(body);
        return;
    }
    recording.repeat_code = 0;
    expansion->repeat_body = body;
    expansion->suffix = '\0';
    // A repeat of the source file proper is listed line by line.
    expansion->saved_mlist = mlist_flag;
    if (current_expansion == nullptr)
        mlist_flag = 1;
    push_expansion(expansion);
}

static void keep_line(const char *line)
{
    const bool in_repeat = recording.repeat_code != 0;
    if (pass_number == 0 || in_repeat)
        store_line(new_body_line(line, std::strlen(line)));
    // The lines of a repeat are listed when they run, those of a macro where they stand.
    if (in_repeat)
        list_state |= LIST_SKIP_LINE;
}

// Whether the keyword is `endm` (letter m) or `endr` (letter r).
static bool ends_body(const Keyword *keyword, char letter)
{
    return (keyword->flags & KW_ENDS_BODY) && keyword->name_length > 3 &&
           keyword->name[3] == letter;
}

void record_body_line(Keyword *keyword, const char *line)
{
    const bool in_repeat = recording.repeat_code != 0;
    if (keyword != nullptr) {
        if (has_action(keyword, macro_directive)) {
            if (in_repeat)
                record_error("misplaced macro directive", 0, nullptr);
            else
                ++recording.macro_nesting;
        } else if (has_action(keyword, repeat_directive)) {
            if (in_repeat)
                ++recording.repeat_nesting;
        } else if (has_action(keyword, line_directive)) {
            return;
        } else if (in_repeat && ends_body(keyword, 'r')) {
            if (recording.repeat_nesting == 0) {
                run_repeat();
                return;
            }
            --recording.repeat_nesting;
        } else if (!in_repeat && ends_body(keyword, 'm')) {
            if (recording.macro_nesting == 0) {
                stop_recording();
                return;
            }
            --recording.macro_nesting;
        }
    }
    keep_line(line);
}

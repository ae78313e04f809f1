// Records the bodies of macros and repeats. Macro bodies are stored in the sizing pass and skipped
// in the others; repeat bodies are stored in every pass and freed when the repeat ends.

#include "base/diagnostics.h"
#include "base/line_context.h"
#include "base/memory.h"
#include "base/number.h"
#include "base/pass_state.h"
#include "base/warnings.h"
#include "expr/evaluator.h"
#include "expr/keyword_table.h"
#include "expr/lexer.h"
#include "expr/name_places.h"
#include "input/conditional.h"
#include "input/input_stack.h"
#include "input/line_origin.h"
#include "input/macro.h"
#include "input/macro_expansion.h"
#include "listing/listing.h"
#include "output/layout_record.h"
#include <cstring>
#include <map>
#include <optional>
#include <string>

// Where the next recorded line is linked; null while nothing is recorded.
static BodyLine **body_tail;

// The lines of the repeat being recorded.
static BodyLine *repeat_body;

// No pass resets the form: an empty list leaves it behind until the next repeat, and meanwhile a
// macro definition doesn't see its end, and in a later pass stores a new body over the one that
// stands.
//
// The nestings count the inner definitions that are open in the body being recorded. Nothing but
// their ends counts them down: what the end of the file leaves open is still open for the bodies of
// the next pass.
static RecordingState recording;

// Arguments of repeat_directive.
constexpr uint8_t BY_COUNT = 0;
constexpr uint8_t BY_LIST = 1;

// Where a later pass records for a name that is no macro by then.
static BodyLine *discarded_body;

// Where the body that is recorded, or was last, began.
static SourcePosition body_place;
static LineContext body_head;

struct OpenBody {
    LineContext head;
    bool of_repeat;
};

// Where each macro is defined.
static std::map<const Keyword *, SourcePosition> macro_definitions;

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
    const SourcePosition place = line_place();
    line->file = place.file;
    line->line = place.line;
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

// Bodies that another has replaced go only here: they may still be running until the file ends.
static void free_retired_bodies()
{
    while (retired_bodies != nullptr) {
        free_body(retired_bodies->body);
        retired_bodies = xfree(retired_bodies, retired_bodies->next);
    }
}

void undo_macros()
{
    visit_macros([](Keyword *keyword) {
        if (keyword->shadow == nullptr)
            return;
        free_body(keyword->body);
        undo_macro(keyword);
    });
}

void forget_macros()
{
    visit_macros([](Keyword *keyword) { free_body(keyword->body); });
    macro_definitions.clear();
    drop_macros();
    free_retired_bodies();
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
            force_error("missing argument name");
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

// Notes where the body begins.
static void begin_body()
{
    body_place = line_place();
    if (keeps_contexts())
        body_head = line_context();
}

static void macro_directive(const Statement &statement)
{
    const std::string_view label = statement.label;
    if (is_digit(label.front())) {
        force_error(messages::BAD_SYMBOL_NAME, label);
        return;
    }
    Keyword *keyword = find_keyword(label);
    if (keyword == nullptr) {
        keyword = add_keyword(label, 0, KW_MACRO);
    } else if (pass_number == 0) {
        if (keyword->flags & KW_MACRO) {
            force_error(messages::MULTIPLY_DEFINED, label);
            return;
        }
        // The macro overrides an instruction or a directive, which stays reachable after a
        // backslash. In the next pass what stands above calls the macro as well.
        spoil_layout_record();
        shadow_keyword(keyword);
        keyword->flags = KW_MACRO;
        keyword->body = nullptr;
    }
    begin_body();
    if (pass_number == 0) {
        macro_definitions[keyword] = body_place;
        note_macro_place(label);
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
// is taken out of the line first, or the name's list would go on after it.
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

SourcePosition macro_place(std::string_view name)
{
    const auto found = macro_definitions.find(find_keyword(name));
    return found != macro_definitions.end() ? found->second : SourcePosition{"", 0};
}

void warn_of_open_body()
{
    // What is left open in the sizing pass leaves the later ones in disorder.
    static std::optional<OpenBody> left_open;
    const bool of_repeat = recording.form != RepeatForm::NONE;
    if (pass_number == 0)
        left_open.reset();
    if (is_recording_body() && !left_open && keeps_contexts())
        left_open = OpenBody{body_head, of_repeat};
    if (!left_open)
        return;
    if (left_open->of_repeat)
        warn_at(left_open->head, "repeat without endr",
                "what follows was taken for the lines to be repeated: end them with endr");
    else
        warn_at(left_open->head, "macro without endm",
                "what follows was taken for the body of the macro: end it with endm");
}

static void repeat_directive(const Statement &statement)
{
    begin_body();
    body_tail = &repeat_body;
    if (statement.keyword->argument == BY_COUNT) {
        ExprValue count;
        parse_expression(&count);
        if (count.reloc != RELOC_ABSOLUTE)
            record_error(messages::BAD_RELOCATABLE);
        record_use(count);
        // As many runs as 31 bits can tell; what an odd one makes of the sign bit is a list's mark.
        recording.form = count.value * 2 + 1 == UINT32_MAX ? RepeatForm::LIST : RepeatForm::COUNT;
        recording.count = static_cast<int32_t>(count.value * 2 + 1) >> 1;
        return;
    }
    recording.form = RepeatForm::LIST;
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

// Takes the list of a list form out of its body and runs the rest once for each item. Null if there
// is no item.
static Expansion *start_list(BodyLine **body)
{
    BodyLine *list = *body;
    if (list == nullptr) // a count of -1 looks like a list, and nothing follows it
        return nullptr;
    char *items = copy_text(list->text);
    *body = xfree(list, list->next);
    Expansion *expansion = expand_list(*body, items);
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
    expansion->arg_text = copy_text("");
    expansion->call_number = next_call_number();
    expansion->position = body;
    expansion->repeats_left = count;
    expansion->cond_mark = mark_conditionals();
    return expansion;
}

// At the end of a repeat: its expansion, or null if there is nothing to run.
static Expansion *start_repeat(BodyLine **body)
{
    if (recording.form == RepeatForm::LIST)
        return start_list(body);
    recording.form = RepeatForm::NONE;
    note_text_decision(static_cast<uint32_t>(recording.count));
    return recording.count != 0 ? start_count(*body, static_cast<uint16_t>(recording.count))
                                : nullptr;
}

static void run_repeat()
{
    BodyLine *body = repeat_body;
    repeat_body = nullptr;
    body_tail = nullptr;
    skip_listed_line();
    Expansion *expansion = start_repeat(&body);
    if (expansion == nullptr) {
        free_body(body);
        return;
    }
    recording.form = RepeatForm::NONE;
    expansion->repeat_body = body;
    expansion->call = body_place;
    // A repeat of the source file proper is listed line by line.
    expansion->saved_mlist = mlist_flag;
    if (current_expansion == nullptr)
        mlist_flag = true;
    push_expansion(expansion);
}

static void keep_line(const char *line)
{
    const bool in_repeat = recording.form != RepeatForm::NONE;
    if (pass_number == 0 || in_repeat)
        store_line(new_body_line(line, std::strlen(line)));
    // The lines of a repeat are listed when they run, those of a macro where they stand.
    if (in_repeat)
        skip_listed_line();
}

// Counts a definition that begins inside the body being recorded.
static void enter_inner_body(bool of_repeat, bool in_repeat)
{
    if (of_repeat)
        recording.repeat_nesting += in_repeat ? 1 : 0;
    else if (in_repeat)
        record_error("misplaced macro directive");
    else
        ++recording.macro_nesting;
}

// Counts the end of a definition; true when it ends the one being recorded.
static bool leave_body(bool in_repeat)
{
    int32_t *nesting = in_repeat ? &recording.repeat_nesting : &recording.macro_nesting;
    if (*nesting == 0)
        return true;
    --*nesting;
    return false;
}

void record_body_line(const Keyword *keyword, const char *line)
{
    const uint16_t flags = keyword != nullptr ? keyword->flags : uint16_t{0};
    const bool in_repeat = recording.form != RepeatForm::NONE;
    const bool of_repeat = (flags & KW_OF_REPEAT) != 0;
    if (flags & KW_UNRECORDED)
        return;
    if (flags & KW_BEGINS_BODY)
        enter_inner_body(of_repeat, in_repeat);
    if ((flags & KW_ENDS_BODY) && of_repeat == in_repeat && leave_body(in_repeat)) {
        if (in_repeat)
            run_repeat();
        else
            stop_recording();
        return;
    }
    keep_line(line);
}

// What ends a body means nothing but while one is recorded.
static void skip_line_directive(const Statement &statement)
{
    if (warns())
        warn(std::string(statement.word) + " ends nothing",
             "no macro or repeat is open here: remove it, or look for what begins the body");
    skip_line();
}

std::span<const DirectiveRow> recording_directives()
{
    constexpr uint16_t REPEAT = KW_QUIET | KW_BEGINS_BODY | KW_OF_REPEAT;
    static constexpr DirectiveRow rows[] = {
        {"macro", macro_directive, 0, KW_LABELED | KW_BEGINS_BODY},
        {"endm", skip_line_directive, 0, KW_PLAIN | KW_ENDS_BODY},
        {"repeat", repeat_directive, BY_COUNT, REPEAT},
        {"irp", repeat_directive, BY_LIST, REPEAT},
        {"repeatl", repeat_directive, BY_LIST, REPEAT},
        {"endr", skip_line_directive, 0, KW_PLAIN | KW_ENDS_BODY | KW_OF_REPEAT},
    };
    return rows;
}

// Tokens are small integers with their attributes in globals. The lexer finds the symbol of every
// name, notes its use and reads the text of a literal in place of its name, so that all of the
// assembler sees the text.
//
// Tokens are what a pass spends most of its time on. What is rare or long is not inlined, or
// read_token would save the registers that it takes for every comma.

#include "expr/lexer.h"

#include "base/diagnostics.h"
#include "base/number.h"
#include "expr/cross_reference.h"
#include "expr/symbol_table.h"
#include <array>
#include <cstring>
#include <string_view>

const char *line_cursor = "";
Symbol *token_symbol;
uint32_t token_register;
uint32_t token_number;
char token_string[1 + TOKEN_STRING_MAX + 1];
bool dot_in_names = true;
uint32_t default_base = 10;
bool number_suffixes_allowed;

constexpr size_t LITERAL_DEPTH_MAX = 5;

// A statement that reads more literals than this, or more without room on the stack, reads a
// literal that contains itself, or one of many that multiply: it ends there.
constexpr int32_t LITERALS_PER_STATEMENT_MAX = 1'000'000;
constexpr int32_t UNSTACKED_LITERALS_MAX = 20;

std::optional<int32_t> token_ahead;

// Where to go on after each literal that is being read.
static const char *literal_stack[LITERAL_DEPTH_MAX];
static size_t literal_depth;
static int32_t literals_read;
static int32_t unstacked_literals;

struct FunctionWord {
    std::string_view lower;
    std::string_view upper;
    int32_t token;
};

static constexpr FunctionWord function_words[] = {
    {"page", "PAGE", TOK_PAGE},          {"high", "HIGH", TOK_HIGH},    {"low", "LOW", TOK_LOW},
    {"strlen", "STRLEN", TOK_STRLEN},    {"phigh", "PHIGH", TOK_PHIGH}, {"plow", "PLOW", TOK_PLOW},
    {"defined", "DEFINED", TOK_DEFINED},
};

// What a character can be part of.
constexpr uint8_t NAME_START = 0x01;
constexpr uint8_t NAME_PART = 0x02;
constexpr uint8_t NAME_DOT = 0x04; // part of a name under dot_in_names
constexpr uint8_t DIGIT = 0x08;
constexpr uint8_t NUMBER_PART = 0x10; // of a number with a suffix
constexpr uint8_t ENDING = 0x20;      // nothing but the end of the statement, or of a literal
constexpr uint8_t BLANK = 0x40;       // what skip_blanks steps over

struct CharacterKind {
    uint8_t parts;
    uint8_t token; // the token that the character is whatever follows it, or TOK_NONE
};

struct CharacterToken {
    char character;
    uint8_t token;
};

static constexpr CharacterToken character_tokens[] = {
    {',', TOK_COMMA},    {':', TOK_COLON},    {'{', TOK_LBRACE}, {'}', TOK_RBRACE},
    {'@', TOK_AT},       {'#', TOK_HASH},     {'(', TOK_LPAREN}, {')', TOK_RPAREN},
    {'[', TOK_LBRACKET}, {']', TOK_RBRACKET}, {'$', TOK_DOLLAR}, {'~', TOK_COMPLEMENT},
    {'*', TOK_STAR},     {'%', TOK_PERCENT},  {'^', TOK_XOR},    {'+', TOK_PLUS},
    {'-', TOK_MINUS},
};

static constexpr std::array<CharacterKind, 256> sort_characters()
{
    std::array<CharacterKind, 256> kinds = {};
    for (size_t i = 0; i < kinds.size(); ++i) {
        const char c = static_cast<char>(i);
        const char lower = lower_case(c);
        const bool starts_name = is_letter(c) || c == '_';
        const bool in_number = is_digit(c) || (lower >= 'a' && lower <= 'q');
        kinds[i].parts = static_cast<uint8_t>(
            (starts_name ? NAME_START : 0) |
            (starts_name || is_digit(c) || c == '$' ? NAME_PART : 0) | (c == '.' ? NAME_DOT : 0) |
            (is_digit(c) ? DIGIT : 0) | (in_number ? NUMBER_PART : 0) |
            (c == ' ' || c == '\t' ? BLANK : 0) |
            (c == '\0' || c == '\n' || c == '\r' || c == ';' ? ENDING : 0));
    }
    for (const CharacterToken &row : character_tokens)
        kinds[static_cast<unsigned char>(row.character)].token = row.token;
    return kinds;
}

static constexpr std::array<CharacterKind, 256> character_kinds = sort_characters();

static CharacterKind kind_of(char c)
{
    return character_kinds[static_cast<unsigned char>(c)];
}

void reset_lexer()
{
    token_ahead.reset();
    literal_depth = 0;
    literals_read = 0;
    unstacked_literals = 0;
}

void skip_line()
{
    line_cursor += std::strlen(line_cursor);
}

// The notation of macro arguments within a name: a backslash and what may follow it.
static bool is_argument_notation(const char *text)
{
    if (text[0] != '\\' || text[1] == '\0')
        return false;
    const char c = text[1];
    return std::strchr("@\\(#", c) != nullptr || is_letter(c) || is_digit(c);
}

// A local label: digits, then "$". In a raw line argument notation may stand among the digits.
static std::string_view scan_local_label(bool raw)
{
    const char *c = line_cursor;
    for (;;) {
        if (is_digit(*c))
            ++c;
        else if (raw && c[0] == '\\' && (c[1] == '#' || is_letter(c[1]) || is_digit(c[1])))
            c += 2;
        else
            break;
    }
    if (*c != '$')
        return {};
    const char *start = line_cursor;
    line_cursor = c + 1;
    return {start, line_cursor};
}

// The end of a name that begins at `c`; gives `c` where none does.
static const char *find_name_end(const char *c)
{
    const uint8_t dot = dot_in_names ? NAME_DOT : 0;
    if ((kind_of(*c).parts & (NAME_START | dot)) == 0)
        return c;
    do
        ++c;
    while (kind_of(*c).parts & (NAME_PART | dot));
    return c;
}

// The same in a raw line.
static const char *find_raw_name_end(const char *start)
{
    const char *c = start;
    // Within "\(name)" the closing parenthesis belongs to the name.
    bool in_parentheses = false;
    for (;;) {
        const uint8_t parts = kind_of(*c).parts;
        if (parts & NAME_START) {
            ++c;
        } else if (is_argument_notation(c)) {
            c += 2;
        } else if (in_parentheses && *c == ')') {
            ++c;
        } else if (c != start && (parts & NAME_PART)) {
            ++c;
        } else if (dot_in_names && *c == '.') {
            ++c;
        } else {
            return c;
        }
        if (c[-1] == '(')
            in_parentheses = true;
        else if (c[-1] == ')')
            in_parentheses = false;
    }
}

std::string_view scan_name(bool raw)
{
    const char *start = line_cursor;
    const char *end = raw ? find_raw_name_end(start) : find_name_end(start);
    if (end == start)
        return is_digit(*start) ? scan_local_label(raw) : std::string_view();
    line_cursor = end;
    return {start, end};
}

// The base that the last character of a number asks for, if it does. The suffix wins over
// default_base, so with a base of 16 "1b" and "1d" are still 1.
static std::optional<uint32_t> suffix_base(char last)
{
    switch (lower_case(last)) {
    case 'b':
        return 2;
    case 'd':
        return 10;
    case 'h':
        return 16;
    case 'q':
        return 8;
    default:
        return std::nullopt;
    }
}

// Reads a number without prefix into *value and gives the position after it.
[[gnu::noinline]] static const char *scan_number(const char *text, uint32_t *value)
{
    if (text[0] == '0' && (text[1] == 'x' || text[1] == 'X'))
        return parse_number(text + 2, value, 16);
    const char *end = text;
    while (kind_of(*end).parts & NUMBER_PART)
        ++end;
    const std::optional<uint32_t> base = suffix_base(end[-1]);
    if (!base)
        return parse_number(text, value, default_base);
    const char *stop = parse_number(text, value, *base);
    if (stop == end - 1)
        return end;
    record_error(messages::BAD_CONSTANT);
    return stop;
}

[[gnu::noinline]] static int32_t read_local_label(const char *end)
{
    token_symbol = find_symbol({line_cursor, end});
    line_cursor = end;
    if (token_symbol->source_file == nullptr)
        record_xref(token_symbol);
    return TOK_SYMBOL;
}

[[gnu::noinline]] static int32_t read_number_or_local_label()
{
    const char *end = line_cursor;
    uint32_t decimal = 0;
    for (; is_digit(*end); ++end)
        decimal = decimal * 10 + static_cast<uint32_t>(*end - '0');
    if (*end == '$')
        return read_local_label(end + 1);
    // Most numbers are decimal, without prefix or suffix.
    if (default_base == 10 && (kind_of(*end).parts & NAME_START) == 0) {
        token_number = decimal;
        line_cursor = end;
        return TOK_NUMBER;
    }
    line_cursor = scan_number(line_cursor, &token_number);
    if (number_suffixes_allowed) {
        while (*line_cursor != '\0' && std::strchr("lLuU", *line_cursor) != nullptr)
            ++line_cursor;
    }
    return TOK_NUMBER;
}

// Reads on after the opening quote. Nothing is escaped and a newline is a character like any
// other, so that an unclosed string takes the line's end in.
static int32_t read_string(char quote)
{
    size_t count = 0;
    while (*line_cursor != quote && *line_cursor != '\0') {
        if (count < TOKEN_STRING_MAX)
            token_string[1 + count++] = *line_cursor;
        else
            record_error("string constant too long");
        ++line_cursor;
    }
    if (*line_cursor == '\0')
        record_error("bad string constant");
    else
        ++line_cursor;
    token_string[1 + count] = '\0';
    token_string[0] = static_cast<char>(count);
    token_number = static_cast<uint32_t>(count);
    return TOK_STRING;
}

// Steps over `second` if it is the next character.
static bool accept(char second)
{
    if (*line_cursor != second)
        return false;
    ++line_cursor;
    return true;
}

// The token of a character that the next one may change; TOK_NONE for what begins no token. The
// cursor stands after `c`.
static int32_t operator_token(char c)
{
    switch (c) {
    case '/':
        return TOK_SLASH;
    case '!':
        return accept('=') ? TOK_NE : TOK_NOT;
    case '=':
        accept('=');
        return TOK_EQ;
    case '&':
        return accept('&') ? TOK_LAND : TOK_AND;
    case '|':
        return accept('|') ? TOK_LOR : TOK_OR;
    case '<':
        if (accept('<'))
            return TOK_SHL;
        if (accept('>'))
            return TOK_NE;
        return accept('=') ? TOK_LE : TOK_LT;
    case '>':
        if (accept('>'))
            return TOK_SHR;
        return accept('=') ? TOK_GE : TOK_GT;
    default:
        --line_cursor;
        return TOK_NONE;
    }
}

// The token of a function whose parenthesis stands at the cursor, which is then stepped over. Mixed
// case makes it an ordinary name, and so does a blank.
[[gnu::noinline]] static int32_t function_token(std::string_view name)
{
    for (const FunctionWord &word : function_words) {
        if (name == word.lower || name == word.upper) {
            ++line_cursor;
            return word.token;
        }
    }
    return TOK_NONE;
}

// Goes on reading in the text of a literal. Without room on the stack the way back is lost; past
// any sensible number of literals the statement ends here.
[[gnu::noinline]] static void enter_literal(Symbol *literal)
{
    const bool has_room = literal_depth < LITERAL_DEPTH_MAX;
    ++literals_read;
    unstacked_literals += has_room ? 0 : 1;
    if (literals_read > LITERALS_PER_STATEMENT_MAX || unstacked_literals > UNSTACKED_LITERALS_MAX) {
        record_error("too many embedded literals");
        literal_depth = 0;
        line_cursor = "";
        return;
    }
    if (has_room)
        literal_stack[literal_depth++] = line_cursor;
    else
        record_error("too many embedded literals");
    line_cursor = literal->literal;
    record_xref(literal);
    literal->attrs |= ATTR_REFERENCED;
}

// What reading gives where a literal begins or ends: no token yet, the cursor stands in another
// text.
constexpr int32_t OTHER_TEXT = -1;

// Reads a name, which may be that of a literal.
[[gnu::noinline]] static int32_t read_name()
{
    const char *start = line_cursor;
    line_cursor = find_name_end(start);
    const std::string_view name = {start, line_cursor};
    if (*line_cursor == '(') {
        const int32_t function = function_token(name);
        if (function != TOK_NONE)
            return function;
    }
    Symbol *symbol = find_symbol(name);
    token_symbol = symbol;
    if (symbol->flags & SYM_REGISTER) {
        token_register = symbol->value;
        return TOK_REGISTER;
    }
    if (symbol->flags & SYM_LITERAL) {
        enter_literal(symbol);
        return OTHER_TEXT;
    }
    record_xref(symbol);
    return TOK_SYMBOL;
}

// Reads what is neither a name nor a number nor told by one character.
[[gnu::noinline]] static int32_t read_rare_token()
{
    const char c = *line_cursor;
    if (c == '\0' && literal_depth != 0) {
        line_cursor = literal_stack[--literal_depth];
        return OTHER_TEXT;
    }
    if ((kind_of(c).parts & ENDING) || (c == '/' && line_cursor[1] == '/'))
        return TOK_END;
    ++line_cursor;
    if (c == '"' || c == '\'')
        return read_string(c);
    return c == '.' ? TOK_DOT : operator_token(c);
}

[[gnu::always_inline]] static inline int32_t read_token_or_literal()
{
    CharacterKind kind = kind_of(*line_cursor);
    if (kind.parts & BLANK) {
        skip_blanks();
        kind = kind_of(*line_cursor);
    }
    if (kind.token != TOK_NONE) {
        ++line_cursor;
        return kind.token;
    }
    if ((kind.parts & ENDING) && literal_depth == 0)
        return TOK_END;
    if ((kind.parts & NAME_START) || ((kind.parts & NAME_DOT) && dot_in_names))
        return read_name();
    if (kind.parts & DIGIT)
        return read_number_or_local_label();
    return read_rare_token();
}

// Not inlined: a loop costs every token the registers that it takes.
[[gnu::noinline]] static int32_t read_on_in_other_text()
{
    int32_t token;
    do
        token = read_token_or_literal();
    while (token == OTHER_TEXT);
    return token;
}

int32_t read_token()
{
    const int32_t token = read_token_or_literal();
    return token != OTHER_TEXT ? token : read_on_in_other_text();
}

std::optional<bool> read_on_off()
{
    skip_blanks();
    if (lower_case(line_cursor[0]) != 'o')
        return std::nullopt;
    switch (lower_case(line_cursor[1])) {
    case 'f': // "of" will do
        line_cursor += lower_case(line_cursor[2]) == 'f' ? 3 : 2;
        return false;
    case 'n':
        line_cursor += 2;
        return true;
    default:
        return std::nullopt;
    }
}

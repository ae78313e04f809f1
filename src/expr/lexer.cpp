// Tokens are small integers with their attributes in globals. The lexer finds the symbol of every
// name, notes its use and reads the text of a literal in place of its name, so that all of the
// assembler sees the text.

#include "expr/lexer.h"

#include "base/diagnostics.h"
#include "base/number.h"
#include "expr/cross_reference.h"
#include "expr/symbol_table.h"
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

constexpr size_t BACK_TOKENS_MAX = 5;
constexpr size_t LITERAL_DEPTH_MAX = 5;

// A statement that reads more literals than this, or more without room on the stack, reads a
// literal that contains itself, or one of many that multiply: it ends there.
constexpr int32_t LITERALS_PER_STATEMENT_MAX = 1'000'000;
constexpr int32_t UNSTACKED_LITERALS_MAX = 20;

static int32_t back_tokens[BACK_TOKENS_MAX];
static size_t back_token_count;

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

void reset_lexer()
{
    back_token_count = 0;
    literal_depth = 0;
    literals_read = 0;
    unstacked_literals = 0;
}

void unget_token(int32_t token)
{
    if (back_token_count == BACK_TOKENS_MAX)
        record_error("too many back tokens");
    else
        back_tokens[back_token_count++] = token;
}

void skip_blanks()
{
    while (*line_cursor == ' ' || *line_cursor == '\t')
        ++line_cursor;
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

std::string_view scan_name(bool raw)
{
    const char *start = line_cursor;
    const char *c = start;
    // Within "\(name)" the closing parenthesis belongs to the name.
    bool in_parentheses = false;
    for (;;) {
        if (is_letter(*c) || *c == '_') {
            ++c;
        } else if (raw && is_argument_notation(c)) {
            c += 2;
        } else if (in_parentheses && *c == ')') {
            ++c;
        } else if (c != start && (is_digit(*c) || *c == '$')) {
            ++c;
        } else if (dot_in_names && *c == '.') {
            ++c;
        } else {
            break;
        }
        if (raw && c[-1] == '(')
            in_parentheses = true;
        else if (raw && c[-1] == ')')
            in_parentheses = false;
    }
    if (c == start)
        return is_digit(*c) ? scan_local_label(raw) : std::string_view();
    line_cursor = c;
    return {start, c};
}

static bool is_number_character(char c)
{
    const char lower = lower_case(c);
    return is_digit(c) || (lower >= 'a' && lower <= 'q');
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
static const char *scan_number(const char *text, uint32_t *value)
{
    if (text[0] == '0' && (text[1] == 'x' || text[1] == 'X'))
        return parse_number(text + 2, value, 16);
    const char *end = text;
    while (is_number_character(*end))
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

static int32_t read_number_or_local_label()
{
    const char *end = line_cursor;
    while (is_digit(*end))
        ++end;
    if (*end == '$') {
        token_symbol = find_symbol({line_cursor, end + 1});
        line_cursor = end + 1;
        if (token_symbol->source_file == nullptr)
            record_xref(token_symbol);
        return TOK_SYMBOL;
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

// The token of a single character or an operator; TOK_NONE for what may begin a name. The cursor
// stands after `c`.
static int32_t operator_token(char c)
{
    switch (c) {
    case ',':
        return TOK_COMMA;
    case ':':
        return TOK_COLON;
    case '{':
        return TOK_LBRACE;
    case '}':
        return TOK_RBRACE;
    case '@':
        return TOK_AT;
    case '#':
        return TOK_HASH;
    case '(':
        return TOK_LPAREN;
    case ')':
        return TOK_RPAREN;
    case '[':
        return TOK_LBRACKET;
    case ']':
        return TOK_RBRACKET;
    case '$':
        return TOK_DOLLAR;
    case '~':
        return TOK_COMPLEMENT;
    case '*':
        return TOK_STAR;
    case '/':
        return TOK_SLASH;
    case '%':
        return TOK_PERCENT;
    case '^':
        return TOK_XOR;
    case '+':
        return TOK_PLUS;
    case '-':
        return TOK_MINUS;
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
        return TOK_NONE;
    }
}

// The function's token if the name is a function word with its parenthesis right after it, which
// is then stepped over. Mixed case or a blank make it an ordinary name.
static int32_t function_token(std::string_view name)
{
    if (*line_cursor != '(')
        return TOK_NONE;
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
static void enter_literal(Symbol *literal)
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

// Reads a name. False when it is that of a literal, whose text now stands at the cursor.
static bool read_name(int32_t *token)
{
    const std::string_view name = scan_name();
    *token = name.empty() ? TOK_NONE : function_token(name);
    if (name.empty() || *token != TOK_NONE)
        return true;
    token_symbol = find_symbol(name);
    if (token_symbol->flags & SYM_LITERAL) {
        enter_literal(token_symbol);
        return false;
    }
    if (token_symbol->flags & SYM_REGISTER) {
        token_register = token_symbol->value;
        *token = TOK_REGISTER;
        return true;
    }
    record_xref(token_symbol);
    *token = TOK_SYMBOL;
    return true;
}

int32_t next_token()
{
    if (back_token_count != 0)
        return back_tokens[--back_token_count];
    for (;;) {
        skip_blanks();
        const char c = *line_cursor;
        if (is_digit(c))
            return read_number_or_local_label();
        if (c == '\0' && literal_depth != 0) {
            line_cursor = literal_stack[--literal_depth];
            continue;
        }
        if (c == '\0' || c == '\n' || c == '\r' || c == ';' || (c == '/' && line_cursor[1] == '/'))
            return TOK_END;
        ++line_cursor;
        if (c == '"' || c == '\'')
            return read_string(c);
        if (c == '.' && !dot_in_names)
            return TOK_DOT;
        const int32_t operator_found = operator_token(c);
        if (operator_found != TOK_NONE)
            return operator_found;
        --line_cursor;
        int32_t token;
        if (read_name(&token))
            return token;
    }
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

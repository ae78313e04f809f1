// Cuts the text at line_cursor into tokens, one at a time and on demand.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

struct Symbol;

// Token numbers. TOKEN_BINARY marks what can be a binary operator; the low
// five bits of a binary operator index the precedence table of the evaluator.
enum Token : int32_t {
    TOK_NONE = 0, // a character that begins no token; the cursor stays on it
    TOK_COMMA = 1,
    TOK_COLON = 2,
    TOK_REGISTER = 3, // its number is in token_register
    TOK_STRING = 5,   // its text is in token_string
    TOK_PAGE = 6,     // the functions include their opening parenthesis
    TOK_HIGH = 7,
    TOK_LOW = 8,
    TOK_STRLEN = 9,
    TOK_PHIGH = 10,
    TOK_PLOW = 11,
    TOK_DEFINED = 12,
    TOK_LBRACE = 19,
    TOK_RBRACE = 20,
    TOK_AT = 21, // octal prefix
    TOK_DOT = 22,
    TOK_HASH = 23,
    TOK_LPAREN = 24,
    TOK_RPAREN = 25,
    TOK_LBRACKET = 26,
    TOK_RBRACKET = 27,
    TOK_SYMBOL = 28, // in token_symbol
    TOK_NUMBER = 29, // in token_number
    TOK_END = 30,    // end of the statement
    TOK_DOLLAR = 31, // hexadecimal prefix
    TOK_NOT = 51,
    TOK_COMPLEMENT = 52,
    TOK_STAR = 65, // multiply; location counter as an operand
    TOK_SLASH = 66,
    TOK_PERCENT = 67, // remainder; binary prefix as an operand
    TOK_SHL = 70,
    TOK_SHR = 71,
    TOK_LT = 72, // as an operand: low byte
    TOK_LE = 73,
    TOK_GT = 74, // as an operand: no effect
    TOK_GE = 75,
    TOK_EQ = 76,
    TOK_NE = 77,
    TOK_AND = 78,
    TOK_XOR = 79,
    TOK_OR = 80,
    TOK_LAND = 81,
    TOK_LOR = 82,
    TOK_PLUS = 100,
    TOK_MINUS = 101,
};

constexpr int32_t TOKEN_BINARY = 0x40;

// Characters that a string token holds at most.
constexpr size_t TOKEN_STRING_MAX = 256;

// The position in the current line, which ends with a zero byte. Shared by all who read the line.
extern const char *line_cursor;

// Attributes of the token read last; the next token of the kind overwrites them.
extern Symbol *token_symbol;    // the last name
extern uint32_t token_register; // the number of the last register
extern uint32_t token_number;   // the last number, or the character count of the last string
// A length byte (the count modulo 256), the characters, a zero byte.
extern char token_string[1 + TOKEN_STRING_MAX + 1];

// Whether "." counts as a letter; not while the operand parser reads a bracketed operand.
extern bool dot_in_names;

// The radix of numbers without a mark. 10 at program start, changed by `base`, never reset.
extern uint32_t default_base;

// Set while `#define` reads its value: C's suffixes l and u may follow a number.
extern bool number_suffixes_allowed;

// The token that peek_token has read or unget_token has put back, ahead of what stands at the
// cursor. For the functions below alone.
extern std::optional<int32_t> token_ahead;

// Reads the token at the cursor. Records "too many embedded literals", "string constant too long",
// "bad string constant", "bad constant".
int32_t read_token();

// Takes the next token; read_token tells what it records.
inline int32_t next_token()
{
    if (!token_ahead)
        return read_token();
    const int32_t token = *token_ahead;
    token_ahead.reset();
    return token;
}

// The next token, which stays the next one. Its attributes are set, and the cursor stands after it.
inline int32_t peek_token()
{
    if (!token_ahead)
        token_ahead = read_token();
    return *token_ahead;
}

// Puts the token back that was taken last: it is the next one again.
inline void unget_token(int32_t token)
{
    token_ahead = token;
}

// Takes the next token if it is the expected one.
inline bool accept_token(int32_t expected)
{
    const int32_t token = next_token();
    if (token == expected)
        return true;
    token_ahead = token;
    return false;
}

// Forgets a token put back and the literals being read, at the start of a statement.
void reset_lexer();

// Steps over blanks and tabs.
inline void skip_blanks()
{
    const char *c = line_cursor;
    while (*c == ' ' || *c == '\t')
        ++c;
    line_cursor = c;
}

// Moves the cursor to the end of the line.
void skip_line();

// If a name stands at the cursor, moves after it and gives it; else the result is empty. A raw
// line, one of a body or of skipped code, may have macro argument notation as part of a name.
std::string_view scan_name(bool raw = false);

// Reads the word "on" or "off" at the cursor. Anything else is left for the end-of-statement check.
std::optional<bool> read_on_off();

// The text of the last string token, zero-terminated.
inline const char *token_text()
{
    return token_string + 1;
}

// The length byte of the last string token, which reads as a signed number.
inline int32_t token_length()
{
    return static_cast<signed char>(token_string[0]);
}

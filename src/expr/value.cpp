// Numbers have 32 bits and wrap. Comparisons and "/" take them as signed.

#include "expr/value.h"

#include "base/diagnostics.h"
#include "expr/lexer.h"

static uint32_t divide(int32_t token, uint32_t left, uint32_t right)
{
    if (right == 0) {
        record_error(messages::ZERO_DIVIDE);
        return left;
    }
    if (token == TOK_PERCENT) // unsigned, though "/" is signed
        return left % right;
    // In 64 bits, as the lowest number divided by -1 has to wrap.
    return static_cast<uint32_t>(int64_t{static_cast<int32_t>(left)} / static_cast<int32_t>(right));
}

uint32_t compute(int32_t token, uint32_t left, uint32_t right)
{
    const auto signed_left = static_cast<int32_t>(left);
    const auto signed_right = static_cast<int32_t>(right);
    switch (token) {
    case TOK_STAR:
        return left * right;
    case TOK_SLASH:
    case TOK_PERCENT:
        return divide(token, left, right);
    case TOK_PLUS:
        return left + right;
    case TOK_MINUS:
        return left - right;
    case TOK_SHL:
        return left << (right & 0x1F);
    case TOK_SHR:
        return left >> (right & 0x1F);
    case TOK_LT:
        return signed_left < signed_right;
    case TOK_LE:
        return signed_left <= signed_right;
    case TOK_GT:
        return signed_left > signed_right;
    case TOK_GE:
        return signed_left >= signed_right;
    case TOK_EQ:
        return left == right;
    case TOK_NE:
        return left != right;
    case TOK_AND:
        return left & right;
    case TOK_XOR:
        return left ^ right;
    case TOK_OR:
        return left | right;
    case TOK_LAND:
        return left != 0 && right != 0;
    default: // TOK_LOR
        return left != 0 || right != 0;
    }
}

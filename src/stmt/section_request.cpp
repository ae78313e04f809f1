// `section` takes attribute words, each added or, with "-", taken away; the word `new`; the names
// of sections that lend their attributes; and in the old syntax a number.

#include "stmt/section_request.h"

#include "base/diagnostics.h"
#include "base/number.h"
#include "base/settings.h"
#include "expr/lexer.h"
#include "output/section_table.h"
#include <string_view>

constexpr uint32_t SECTION_NUMBER_END = 256;

struct AttributeWord {
    std::string_view word;
    uint8_t bit;
};

static constexpr AttributeWord attribute_words[] = {
    {"abs", SECATTR_ABS},   {"bit", SECATTR_BIT},     {"bss", SECATTR_BSS},
    {"code", SECATTR_CODE}, {"even", SECATTR_EVEN},   {"hilo", SECATTR_HILO},
    {"long", SECATTR_LONG}, {"zpage", SECATTR_ZPAGE},
};

static const AttributeWord *find_attribute(std::string_view word)
{
    for (const AttributeWord &row : attribute_words) {
        if (row.word == word)
            return &row;
    }
    return nullptr;
}

static void apply_bits(SectionRequest *request, uint8_t bits, bool add)
{
    if (add)
        request->attributes |= bits;
    else
        request->attributes &= static_cast<uint8_t>(~bits);
}

// A word that is no attribute is the name of a section, which lends its own. As the first word it
// also starts them from nothing. The lookup leaves that section current.
static void apply_lent_attributes(SectionRequest *request, std::string_view word, bool add)
{
    if (request->word_count == 1 && add)
        request->attributes = 0;
    const Section *lender = select_section(word);
    if (lender != nullptr)
        apply_bits(request, lender->attributes, add);
    else
        record_error("unknown attribute %.*s", word);
}

static void read_attribute(SectionRequest *request)
{
    bool add = true;
    if (*line_cursor == '+' || *line_cursor == '-') {
        add = *line_cursor++ == '+';
        skip_blanks();
    }
    const std::string_view word = scan_name();
    if (word.empty()) {
        if (request->word_count != 0)
            record_error(messages::MISSING_LABEL);
        else
            request->attributes = section_list->attributes;
        return;
    }
    ++request->word_count;
    if (word == "new")
        request->wants_new = true;
    else if (const AttributeWord *row = find_attribute(word))
        apply_bits(request, row->bit, add);
    else
        apply_lent_attributes(request, word, add);
}

static void read_section_number(SectionRequest *request)
{
    if (request->number.has_value() || !settings.opt_old_syntax)
        force_error(messages::SYNTAX_ERROR);
    uint32_t number = 0;
    bool too_large = false;
    while (is_digit(*line_cursor)) {
        number = number * 10 + static_cast<uint32_t>(*line_cursor++ - '0');
        too_large = too_large || number >= SECTION_NUMBER_END;
    }
    request->number.reset();
    if (too_large)
        force_error(messages::VALUE_TOO_LARGE);
    else
        request->number = static_cast<uint8_t>(number);
    skip_blanks();
    if (*line_cursor != ',' && request->word_count == 0)
        request->attributes = section_list->attributes;
}

SectionRequest read_section_request()
{
    SectionRequest request = {default_section_attributes, 0, false, std::nullopt};
    if (settings.opt_absolute)
        request.attributes |= SECATTR_ABS;
    for (;;) {
        skip_blanks();
        if (is_digit(*line_cursor))
            read_section_number(&request);
        else
            read_attribute(&request);
        skip_blanks();
        if (*line_cursor != ',')
            return request;
        ++line_cursor;
    }
}

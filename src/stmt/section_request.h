// The operands of a `section` directive.
#pragma once

#include <cstdint>
#include <optional>

struct SectionRequest {
    uint8_t attributes;
    uint32_t word_count; // words met, `new` among them
    bool wants_new;
    std::optional<uint8_t> number; // of the old syntax
};

// Reads the operands at the cursor. A word that is the name of a section leaves it current. Records
// "unknown attribute %.*s", "missing label", and at once "syntax error" and "value too large".
SectionRequest read_section_request();

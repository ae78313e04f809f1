// The closing table of a .debug section: the symbols with their values, sizes and names.
#pragma once

#include "object/object_reader.h"
#include <optional>

struct DebugTableRow {
    std::string name;
    uint32_t section_number = 0; // of the relocation on the value; 0 for a plain number
    uint32_t value = 0;
    uint32_t type = 0;
    uint8_t symbol_class = 0;
    uint32_t data_size = 0;
};

struct DebugTable {
    uint32_t address = 0; // of the first row
    std::vector<DebugTableRow> rows;
};

// Finds the table at the end of section `number` (from 1). Null unless every word, relocation and
// string of it is as it must be up to the last byte of the section, as nothing else in the file
// says whether there is one.
std::optional<DebugTable> find_debug_table(const ObjectFile &object, uint32_t number);

bool is_public_class(uint8_t symbol_class);

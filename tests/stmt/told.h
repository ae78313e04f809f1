#pragma once
#include "target/rows.h"

// Rows of line and message as they are printed: "3 = syntax error | 4 = missing label".
inline std::string told(const std::string &table)
{
    std::string text;
    for (const Row &row : rows_of(table)) {
        text += "#error nvasm8 prog.s:" + trimmed(row.source) + "\t" + row.expected + "\n";
    }
    return text;
}

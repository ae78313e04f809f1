// Tables of statements and what must come of them, in a notation of their own: a row is
// "statement = bytes" or "statement = bytes / relocation stream", rows are parted by a bar or a
// line end, and a backslash parts the lines of a row's source.
#pragma once

#include "support/run.h"
#include <gtest/gtest.h>

struct Row {
    std::string source; // ends in a line end
    std::string expected;
};

// A message and the statements that each give it and no other, parted like rows.
struct Fault {
    std::string message;
    std::string statements;
};

std::string trimmed(const std::string &text);

std::vector<Row> rows_of(std::string table);

// All rows are assembled together after the preamble, each in a section of its own at address 0,
// so that what a row gives doesn't depend on the rows before it.
void expect_rows(const std::string &preamble, const std::vector<Row> &rows,
                 const std::vector<std::string> &options = {}, const std::string &attributes = "");

void expect_faults(const std::string &preamble, const std::vector<Fault> &faults,
                   const std::vector<std::string> &options = {});

// Rows of line and message as they are printed: "3 = syntax error | 4 = missing label". The
// position is in prog.s unless it names another file: "inc.s:2 = syntax error".
std::string reported(const std::string &table);

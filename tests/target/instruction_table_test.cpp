// Every row of the instruction table, by the rows in instructions.cases. The operands there are
// chosen so that no other row of the mnemonic takes them.
#include "support/rows.h"

#include <fstream>
#include <map>
#include <set>

TEST(InstructionTable, EveryRowGivesItsBytes)
{
    std::ostringstream text;
    text << std::ifstream(NVASM8_SOURCE_DIR "/target/instructions.cases").rdbuf();
    std::map<std::string, std::vector<Row>> by_mnemonic;
    std::set<std::string> rows_met; // different bytes within a mnemonic come from different rows
    for (const Row &row : rows_of(text.str())) {
        const std::string mnemonic = row.source.substr(0, row.source.find_first_of(" \n"));
        by_mnemonic[mnemonic].push_back(row);
        rows_met.insert(mnemonic + " " + row.expected);
    }
    EXPECT_EQ(rows_met.size(), 591U);
    for (const auto &[mnemonic, rows] : by_mnemonic)
        expect_rows("", rows);
}

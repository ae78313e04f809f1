// Reads the operands of an instruction.
#pragma once

struct Instruction;

// Reads all operands of the mnemonic whose first row `ins->row` is, the cursor after the mnemonic,
// and fills in modes and values, the bit and `check_target`. Records "bad addressing mode", "value
// too large", "bad relocatable expression" and what parse_operand records.
void read_operands(Instruction *ins);

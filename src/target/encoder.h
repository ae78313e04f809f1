// Assembles instructions and chooses the form of branches.
#pragma once

struct OpcodeEntry;

// Assembles one instruction from the mnemonic's first row, the cursor after the mnemonic. Records
// "bad addressing mode", "value too large", "bad relocatable expression".
void encode_instruction(const OpcodeEntry *row);

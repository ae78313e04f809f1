// The operands that instructions take, as text from the instruction table.
#pragma once

#include <string>
#include <string_view>
#include <vector>

struct Instruction;
struct OpcodeEntry;

// "a,#byte", "a,(addr,x)"..., of the mnemonic whose first row this is, in the order of the table.
std::vector<std::string> operand_forms(const OpcodeEntry *row);

// Lines of notes with the forms: those whose first operand is `first`, if there are any, or all.
std::string forms_note(const OpcodeEntry *row, std::string_view first);

// Records "bad addressing mode" with the reason as far as it can be told, and the forms.
void record_bad_operands(const OpcodeEntry *row, const Instruction &ins);

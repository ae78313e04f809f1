// The vocabulary of the assembler.
#pragma once

// Enters all directives, then the target's registers, directives and mnemonics. Once per run.
void install_keywords();

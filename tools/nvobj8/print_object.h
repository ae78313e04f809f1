// Prints an object file as text.
#pragma once

#include "object/object_reader.h"

// Parts of the text, as asked for by the options.
constexpr unsigned PRINT_HEAD = 0x01;
constexpr unsigned PRINT_SECTIONS = 0x02;
constexpr unsigned PRINT_CONTENTS = 0x04;
constexpr unsigned PRINT_RELOCATIONS = 0x08;
constexpr unsigned PRINT_SYMBOLS = 0x10;
constexpr unsigned PRINT_DEBUG = 0x20;
constexpr unsigned PRINT_ALL = 0x3F;

// Prints the parts chosen by the PRINT_ bits to standard output; of a file without a head nothing.
void print_object(const ObjectFile &object, unsigned parts);

// Constants of the object file, shared by the writer and by every program that reads objects.
// The layout itself stands byte by byte in docs/object-format.md.
#pragma once

#include <cstdint>

// The head: 28 bytes at offset 0.
constexpr uint8_t OBJECT_MAGIC = 0xCC;
constexpr uint32_t OBJECT_HEAD_SIZE = 28;
constexpr uint32_t SECTION_ENTRY_SIZE = 40;
constexpr uint8_t SECTION_NAME_MAX = 14;
// Bytes of a symbol or debug record ahead of its counted text.
constexpr uint32_t RECORD_HEAD_SIZE = 7;

// Section attributes, as in the section table and in Section::attributes.
constexpr uint8_t SECATTR_BSS = 0x01;   // room only: neither bytes nor relocations in the file
constexpr uint8_t SECATTR_HILO = 0x02;  // multi-byte values most significant byte first
constexpr uint8_t SECATTR_EVEN = 0x04;  // padded to end on an even address
constexpr uint8_t SECATTR_ZPAGE = 0x08; // zero page: 8-bit addresses
constexpr uint8_t SECATTR_ABS = 0x10;   // absolute: labels are constants
constexpr uint8_t SECATTR_BIT = 0x20;   // bit-addressed
constexpr uint8_t SECATTR_LONG = 0x40;  // addresses beyond 16 bits
constexpr uint8_t SECATTR_CODE = 0x80;  // code

// Symbol attributes, as in the symbol records and in Symbol::attrs. ZPAGE, BIT, LONG and CODE have
// the bits of the section attributes of the same name.
constexpr uint8_t ATTR_DEFINED = 0x01;
constexpr uint8_t ATTR_REFERENCED = 0x02;
constexpr uint8_t ATTR_PUBLIC = 0x04;
constexpr uint8_t ATTR_ZPAGE = 0x08;
constexpr uint8_t ATTR_ABSOLUTE = 0x10;
constexpr uint8_t ATTR_BIT = 0x20;
constexpr uint8_t ATTR_LONG = 0x40;
constexpr uint8_t ATTR_CODE = 0x80;

// Relocation kinds: the low five bits of an item's code byte.
constexpr uint8_t RK_BYTE = 0;
constexpr uint8_t RK_WORD = 1;
constexpr uint8_t RK_LONG = 2;
constexpr uint8_t RK_HIGH = 4;
constexpr uint8_t RK_PAGE_BYTE = 6;
constexpr uint8_t RK_PAGE_WORD = 7;
constexpr uint8_t RK_BIT = 9;
constexpr uint8_t RK_PHIGH = 10;
constexpr uint8_t RK_PLOW = 11;
constexpr uint8_t RK_LONG_ALT = 12;
constexpr uint8_t RK_CHECK = 15;

// The bits around the kind in an item's code byte, and the shapes of gap items.
constexpr uint8_t RELOC_ITEM = 0x80;       // set in every relocation item
constexpr uint8_t RELOC_WIDE_INDEX = 0x20; // the index takes two bytes
constexpr uint8_t RELOC_KIND_MASK = 0x1F;
constexpr uint8_t RELOC_KIND_MODIFIER = 0x10; // in the kind: changes nothing in the item's layout
constexpr uint8_t RELOC_LONG_GAP = 0x40;      // two-byte gap item
constexpr uint32_t SHORT_GAP_MAX = 63;
constexpr uint32_t LONG_GAP_MAX = 16383;

// Kinds of debug records.
constexpr uint8_t DEBUG_CALL = 0x00;
constexpr uint8_t DEBUG_ENTRY = 0x01;
constexpr uint8_t DEBUG_TABLE = 0x02;
constexpr uint8_t DEBUG_QUIT = 0x04;
constexpr uint8_t DEBUG_LINE = 0x08;
constexpr uint8_t DEBUG_RANGE_END = 0x10;
constexpr uint8_t DEBUG_RANGE_START = 0x20;
constexpr uint8_t DEBUG_FILE = 0x40;
constexpr uint8_t DEBUG_STRING = 0x41;
constexpr uint8_t DEBUG_STORE = 0x42;
constexpr uint8_t DEBUG_OPTION = 0x80;

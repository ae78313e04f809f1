// The checksums that an image can carry.
#pragma once

#include "nvlink8/options.h"
#include <span>

// CRC16: polynomial 0x1021, most significant bit first, start value 0xFFFF, not inverted
// (CRC-16/CCITT-FALSE; "123456789" gives 0x29B1). CRC32: that of zip and Ethernet
// (CRC-32/ISO-HDLC; 0xCBF43926). SUM: all bytes added, cut to 16 bits (0x01DD).
uint32_t checksum(ChecksumKind kind, std::span<const uint8_t> bytes);

#include "nvlink8/checksum.h"

static uint32_t crc16(std::span<const uint8_t> bytes)
{
    constexpr uint32_t POLYNOMIAL = 0x1021;
    uint32_t crc = 0xFFFF;
    for (const uint8_t byte : bytes) {
        crc ^= uint32_t{byte} << 8;
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc << 1) ^ (crc & 0x8000 ? POLYNOMIAL : 0);
    }
    return crc & 0xFFFF;
}

static uint32_t crc32(std::span<const uint8_t> bytes)
{
    constexpr uint32_t REVERSED_POLYNOMIAL = 0xEDB88320;
    uint32_t crc = 0xFFFFFFFF;
    for (const uint8_t byte : bytes) {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ (crc & 1 ? REVERSED_POLYNOMIAL : 0);
    }
    return ~crc;
}

static uint32_t sum(std::span<const uint8_t> bytes)
{
    uint32_t total = 0;
    for (const uint8_t byte : bytes)
        total += byte;
    return total & 0xFFFF;
}

uint32_t checksum(ChecksumKind kind, std::span<const uint8_t> bytes)
{
    switch (kind) {
    case ChecksumKind::CRC16:
        return crc16(bytes);
    case ChecksumKind::CRC32:
        return crc32(bytes);
    case ChecksumKind::SUM:
        break;
    }
    return sum(bytes);
}

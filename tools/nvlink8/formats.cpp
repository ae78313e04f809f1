// Intel HEX and S-records have 16 bytes a line and only the record types that programmers of chips
// are known to take: HEX 00, 01, 04 where addresses leave the lower 64 KiB and 05 for an entry;
// S-records of the shortest kind that has room for the highest address.
#include "nvlink8/formats.h"

#include <algorithm>
#include <string_view>

static constexpr size_t LINE_BYTES = 16;
static constexpr uint32_t HEX_PAGE = 0x10000;

static void append_byte(std::string *line, uint32_t byte)
{
    static constexpr std::string_view DIGITS = "0123456789ABCDEF";
    *line += DIGITS[byte >> 4 & 15];
    *line += DIGITS[byte & 15];
}

using Bytes = std::span<const uint8_t>;

// A record is the line's bytes with a sum behind; both formats differ in what comes ahead.
static void append_bytes(std::string *line, Bytes bytes, uint32_t *sum)
{
    for (const uint8_t byte : bytes) {
        append_byte(line, byte);
        *sum += byte;
    }
}

enum class HexRecord : uint8_t { DATA = 0, END = 1, UPPER_ADDRESS = 4, START = 5 };

static void append_hex_record(std::string *file, uint32_t address, HexRecord type, Bytes bytes)
{
    const uint8_t head[] = {static_cast<uint8_t>(bytes.size()), static_cast<uint8_t>(address >> 8),
                            static_cast<uint8_t>(address), static_cast<uint8_t>(type)};
    uint32_t sum = 0;
    *file += ':';
    append_bytes(file, head, &sum);
    append_bytes(file, bytes, &sum);
    append_byte(file, 0 - sum);
    *file += '\n';
}

static void append_hex_segment(std::string *file, const Segment &segment, uint32_t *upper)
{
    Bytes rest = segment.bytes;
    uint32_t address = segment.address;
    while (!rest.empty()) {
        if (address >> 16 != *upper) {
            *upper = address >> 16;
            const uint8_t bytes[] = {static_cast<uint8_t>(*upper >> 8),
                                     static_cast<uint8_t>(*upper)};
            append_hex_record(file, 0, HexRecord::UPPER_ADDRESS, bytes);
        }
        const size_t in_page = HEX_PAGE - address % HEX_PAGE;
        const size_t size = std::min({rest.size(), LINE_BYTES, in_page});
        append_hex_record(file, address, HexRecord::DATA, rest.first(size));
        rest = rest.subspan(size);
        address += static_cast<uint32_t>(size);
    }
}

static std::string intel_hex(const Image &image, std::optional<uint32_t> entry)
{
    std::string file;
    uint32_t upper = 0;
    for (const Segment &segment : image)
        append_hex_segment(&file, segment, &upper);
    if (entry) {
        const uint8_t bytes[] = {static_cast<uint8_t>(*entry >> 24),
                                 static_cast<uint8_t>(*entry >> 16),
                                 static_cast<uint8_t>(*entry >> 8), static_cast<uint8_t>(*entry)};
        append_hex_record(&file, 0, HexRecord::START, bytes);
    }
    append_hex_record(&file, 0, HexRecord::END, {});
    return file;
}

// `address_size` bytes of the address.
static void append_s_record(std::string *file, char type, size_t address_size, uint32_t address,
                            Bytes bytes)
{
    std::vector<uint8_t> head = {static_cast<uint8_t>(address_size + bytes.size() + 1)};
    for (size_t i = address_size; i > 0; --i)
        head.push_back(static_cast<uint8_t>(address >> (8 * (i - 1))));
    uint32_t sum = 0;
    *file += {'S', type};
    append_bytes(file, head, &sum);
    append_bytes(file, bytes, &sum);
    append_byte(file, ~sum);
    *file += '\n';
}

static uint32_t highest_address(const Image &image)
{
    if (image.empty())
        return 0;
    return image.back().address + static_cast<uint32_t>(image.back().bytes.size() - 1);
}

static std::string s_records(const Image &image, std::optional<uint32_t> entry)
{
    static constexpr std::string_view HEADER = "nvlink8";
    const uint32_t highest = std::max(highest_address(image), entry.value_or(0));
    const size_t address_size = highest > 0xFFFFFF ? 4 : highest > 0xFFFF ? 3 : 2;
    std::string file;
    append_s_record(&file, '0', 2, 0,
                    {reinterpret_cast<const uint8_t *>(HEADER.data()), HEADER.size()});
    for (const Segment &segment : image) {
        const Bytes bytes = segment.bytes;
        for (size_t at = 0; at < bytes.size(); at += LINE_BYTES) {
            append_s_record(&file, static_cast<char>('0' + address_size - 1), address_size,
                            segment.address + static_cast<uint32_t>(at),
                            bytes.subspan(at, std::min(LINE_BYTES, bytes.size() - at)));
        }
    }
    append_s_record(&file, static_cast<char>('0' + 11 - address_size), address_size,
                    entry.value_or(0), {});
    return file;
}

static std::string binary(const Image &image, uint8_t fill)
{
    std::string file;
    for (const Segment &segment : image) {
        file.resize(segment.address - image.front().address, static_cast<char>(fill));
        file.append(segment.bytes.begin(), segment.bytes.end());
    }
    return file;
}

std::string format_image(const Image &image, ImageFormat format, std::optional<uint32_t> entry,
                         uint8_t fill)
{
    switch (format) {
    case ImageFormat::INTEL_HEX:
        return intel_hex(image, entry);
    case ImageFormat::S_RECORDS:
        return s_records(image, entry);
    case ImageFormat::BINARY:
        break;
    }
    return binary(image, fill);
}

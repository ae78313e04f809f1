// Gaps are filled before checksums are taken, and the range of a checksum is filled to the last
// byte, so that what the chip adds up is what was added up here.
#include "nvlink8/image.h"

#include "nvlink8/checksum.h"
#include <algorithm>

// Erased flash of the STM8 reads as 0.
static constexpr uint8_t ERASED = 0x00;

static void copy_block(const Program &program, const Block &block, Image *image)
{
    Segment &segment = image->emplace_back();
    segment.address = block.loaded_apart ? block.load_address : block.address;
    segment.bytes.reserve(block.size);
    for (const uint32_t number : block.pieces) {
        const InputSection &piece = program.pieces[number];
        segment.bytes.resize(piece.offset); // what `even` leaves between pieces is 0
        const std::vector<uint8_t> &contents = section_of(program, piece).contents;
        segment.bytes.insert(segment.bytes.end(), contents.begin(), contents.end());
    }
}

static uint64_t end_of(const Segment &segment)
{
    return uint64_t{segment.address} + segment.bytes.size();
}

// Sorts the segments and joins those that touch.
static void settle(Image *image)
{
    std::stable_sort(image->begin(), image->end(),
                     [](const Segment &a, const Segment &b) { return a.address < b.address; });
    Image joined;
    for (Segment &segment : *image) {
        if (segment.bytes.empty())
            continue;
        if (joined.empty() || end_of(joined.back()) != segment.address)
            joined.push_back(std::move(segment));
        else
            joined.back().bytes.insert(joined.back().bytes.end(), segment.bytes.begin(),
                                       segment.bytes.end());
    }
    *image = std::move(joined);
}

// Fills what is free from first to last.
static void fill_range(Image *image, AddressRange range, uint8_t byte)
{
    uint64_t at = range.first;
    const uint64_t end = uint64_t{range.last} + 1;
    Image fillings;
    const auto fill_to = [&](uint64_t next) {
        if (next > at) {
            fillings.push_back({static_cast<uint32_t>(at),
                                std::vector<uint8_t>(static_cast<size_t>(next - at), byte)});
        }
    };
    for (const Segment &segment : *image) {
        fill_to(std::min<uint64_t>(segment.address, end));
        at = std::max(at, end_of(segment));
    }
    fill_to(end);
    image->insert(image->end(), fillings.begin(), fillings.end());
    settle(image);
}

// The first and last byte within the region. Nothing where it has none.
static std::optional<AddressRange> used_range(const Image &image, AddressRange region)
{
    std::optional<AddressRange> used;
    for (const Segment &segment : image) {
        const uint64_t first = std::max(segment.address, region.first);
        const uint64_t end = std::min(end_of(segment), uint64_t{region.last} + 1);
        if (first >= end)
            continue;
        if (!used)
            used = {static_cast<uint32_t>(first), 0};
        used->last = static_cast<uint32_t>(end - 1);
    }
    return used;
}

static void fill_gaps(const Options &options, Image *image)
{
    for (const Region &region : options.regions) {
        if (region.ram)
            continue;
        if (region.fill) {
            fill_range(image, region.range, *region.fill);
        } else if (options.fill) {
            if (const auto used = used_range(*image, region.range))
                fill_range(image, *used, *options.fill);
        }
    }
}

uint32_t checksum_size(ChecksumKind kind)
{
    return kind == ChecksumKind::CRC32 ? 4 : 2;
}

static std::vector<uint8_t> bytes_of_range(const Image &image, AddressRange range)
{
    std::vector<uint8_t> bytes;
    for (const Segment &segment : image) {
        const uint64_t first = std::max(segment.address, range.first);
        const uint64_t end = std::min(end_of(segment), uint64_t{range.last} + 1);
        if (first < end) {
            const auto begin =
                segment.bytes.begin() + static_cast<ptrdiff_t>(first - segment.address);
            bytes.insert(bytes.end(), begin, begin + static_cast<ptrdiff_t>(end - first));
        }
    }
    return bytes;
}

static bool overlaps(const ChecksumRule &place, AddressRange range)
{
    return place.address <= range.last &&
           place.address + checksum_size(place.kind) - 1 >= range.first;
}

static void set_byte(Image *image, uint32_t address, uint8_t byte)
{
    for (Segment &segment : *image) {
        if (address >= segment.address && address < end_of(segment))
            segment.bytes[address - segment.address] = byte;
    }
}

// A checksum within its own range would change what it was taken of.
static void store_checksum(const Options &options, const ChecksumRule &rule, Image *image,
                           Messages *messages)
{
    if (overlaps(rule, rule.range)) {
        add_error(messages, "--checksum: the range 0x%x-0x%x holds the place of the checksum, 0x%x",
                  rule.range.first, rule.range.last, rule.address);
        return;
    }
    const Region *region = region_at(options, rule.range.first);
    const uint8_t byte =
        region != nullptr && region->fill ? *region->fill : options.fill.value_or(ERASED);
    fill_range(image, rule.range, byte);
    const uint32_t value = checksum(rule.kind, bytes_of_range(*image, rule.range));
    const uint32_t size = checksum_size(rule.kind);
    for (uint32_t i = 0; i < size; ++i)
        set_byte(image, rule.address + i, static_cast<uint8_t>(value >> (8 * (size - 1 - i))));
}

// The places of checksums hold 0 until they are known, so that nothing fills them.
Image build_image(const Options &options, const Program &program, Messages *messages)
{
    Image image;
    for (const Block &block : program.blocks) {
        if (has_bytes(block))
            copy_block(program, block, &image);
    }
    for (const ChecksumRule &rule : options.checksums)
        image.push_back({rule.address, std::vector<uint8_t>(checksum_size(rule.kind))});
    settle(&image);
    if (region_at(options, 0x8000) != nullptr && !used_range(image, {0x8000, 0x8000}))
        add_warning(messages, "nothing is stored at 0x8000, where the chip takes its reset vector");
    fill_gaps(options, &image);
    for (const ChecksumRule &rule : options.checksums)
        store_checksum(options, rule, &image, messages);
    return image;
}

Image select_regions(const Options &options, const Image &image,
                     const std::vector<std::string> &names)
{
    if (names.empty())
        return image;
    Image selected;
    for (const std::string &name : names) {
        const Region *region = find_region(options, name);
        for (const Segment &segment : image) {
            const uint64_t first = std::max(segment.address, region->range.first);
            const uint64_t end = std::min(end_of(segment), uint64_t{region->range.last} + 1);
            if (first >= end)
                continue;
            const auto begin =
                segment.bytes.begin() + static_cast<ptrdiff_t>(first - segment.address);
            selected.push_back({static_cast<uint32_t>(first),
                                {begin, begin + static_cast<ptrdiff_t>(end - first)}});
        }
    }
    settle(&selected);
    return selected;
}

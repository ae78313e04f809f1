// Blocks are laid out from what is fixed to what is free: absolute sections, then --place and
// --load with an address, then those into regions in the order of the command line, then all others
// by their attributes. Each takes the first gap that holds it. Run and load addresses are one
// space: a section that runs in RAM and is stored in flash takes both.
#include "nvlink8/placement.h"

#include "nvlink8/image.h"
#include <algorithm>
#include <map>
#include <optional>

static constexpr uint64_t PAGE_SIZE = 0x10000;

// A stretch of the address space that is taken.
struct Taken {
    uint64_t last = 0;
    std::string what;
};

struct Placer {
    const Options &options;
    Program &program;
    Messages &messages;
    std::map<uint64_t, Taken> taken; // by first address
    // For each region, where what is placed into it from now on may begin: behind what a --place
    // has put there.
    std::vector<uint64_t> floors;
    std::map<const Region *, std::vector<const Block *>> unplaced;
    bool complete = true;
};

static uint64_t aligned(uint64_t address, uint64_t alignment)
{
    return (address + alignment - 1) / alignment * alignment;
}

static bool crosses_page(uint64_t address, uint64_t size)
{
    return size != 0 && size <= PAGE_SIZE &&
           address / PAGE_SIZE != (address + size - 1) / PAGE_SIZE;
}

// What of the taken begins last within or before the stretch and reaches into it, or end().
static std::map<uint64_t, Taken>::const_iterator find_overlap(const Placer &placer, uint64_t first,
                                                              uint64_t last)
{
    auto next = placer.taken.upper_bound(last);
    if (next == placer.taken.begin())
        return placer.taken.end();
    const auto before = std::prev(next);
    return before->second.last >= first ? before : placer.taken.end();
}

// The first place between both ends for `size` bytes, which must not cross a page if `in_page`.
static std::optional<uint64_t> first_gap(const Placer &placer, uint64_t first, uint64_t last,
                                         uint64_t size, uint64_t alignment, bool in_page)
{
    uint64_t at = aligned(first, alignment);
    while (true) {
        if (in_page && crosses_page(at, size))
            at = aligned(aligned(at, PAGE_SIZE), alignment);
        const uint64_t end = at + std::max<uint64_t>(size, 1) - 1;
        if (end > last)
            return std::nullopt;
        const auto overlap = find_overlap(placer, at, end);
        if (overlap == placer.taken.end())
            return at;
        at = aligned(overlap->second.last + 1, alignment);
    }
}

static std::string title(const Placer &placer, const Block &block)
{
    const InputSection &first = placer.program.pieces[block.pieces.front()];
    std::string result = "section " + escaped(block.name);
    if (block.absolute || block.apart)
        result += " of " + placer.program.objects[first.object].name;
    return result;
}

static void take(Placer *placer, uint64_t first, uint64_t size, const std::string &what)
{
    if (size == 0)
        return;
    const uint64_t last = first + size - 1;
    const auto overlap = find_overlap(*placer, first, last);
    if (overlap != placer->taken.end()) {
        add_error(&placer->messages,
                  "%s, 0x%llx-0x%llx, overlaps %s, 0x%llx-0x%llx; move one of them, or let them "
                  "share by --overlay",
                  what.c_str(), static_cast<unsigned long long>(first),
                  static_cast<unsigned long long>(last), overlap->second.what.c_str(),
                  static_cast<unsigned long long>(overlap->first),
                  static_cast<unsigned long long>(overlap->second.last));
        return;
    }
    placer->taken.emplace(first, Taken{last, what});
}

// The bytes that a block needs where it runs: as many as the largest that shares the address.
static uint64_t run_room(const Placer &placer, uint32_t number)
{
    uint64_t room = placer.program.blocks[number].size;
    if (placer.program.blocks[number].overlay == NONE)
        return room;
    for (const Block &block : placer.program.blocks) {
        if (block.overlay == number)
            room = std::max(room, block.size);
    }
    return room;
}

static uint64_t run_alignment(const Placer &placer, uint32_t number)
{
    uint64_t alignment = placer.program.blocks[number].alignment;
    if (placer.program.blocks[number].overlay == NONE)
        return alignment;
    for (const Block &block : placer.program.blocks) {
        if (block.overlay == number)
            alignment = std::max<uint64_t>(alignment, block.alignment);
    }
    return alignment;
}

static bool follows_another(const Placer &placer, uint32_t number)
{
    const Block &block = placer.program.blocks[number];
    return block.overlay != NONE && block.overlay != number;
}

// Says by how much a region is overflown, and what fills it most.
static void report_overflow(Placer *placer, const Region &region, uint64_t excess)
{
    std::vector<const Block *> inside = placer->unplaced[&region];
    for (const Block &block : placer->program.blocks) {
        const bool runs = block.placed && region_at(placer->options, block.address) == &region;
        const bool loads =
            block.loaded_apart && region_at(placer->options, block.load_address) == &region;
        if (runs || loads)
            inside.push_back(&block);
    }
    std::stable_sort(inside.begin(), inside.end(),
                     [](const Block *a, const Block *b) { return a->size > b->size; });
    constexpr size_t SHOWN_MAX = 5;
    std::string biggest;
    for (size_t i = 0; i < std::min(inside.size(), SHOWN_MAX); ++i) {
        biggest += text("%s %s (%llu bytes)", i == 0 ? "" : ",", escaped(inside[i]->name).c_str(),
                        static_cast<unsigned long long>(inside[i]->size));
    }
    add_error(&placer->messages,
              "region %s, 0x%x-0x%x, is overflown by %llu bytes; its biggest sections:%s",
              region.name.c_str(), region.range.first, region.range.last,
              static_cast<unsigned long long>(excess), biggest.c_str());
}

// What has an address of its own must lie in regions, one after the other if need be. Registers,
// absolute and without bytes, may lie outside. The default regions are a guess at the chip, so that
// they only warn.
static void check_regions(Placer *placer, const Block &block, uint64_t first, uint64_t size)
{
    if (size == 0)
        return;
    const Region *region = region_at(placer->options, static_cast<uint32_t>(first));
    if (region == nullptr) {
        if (block.absolute && (block.attributes & SECATTR_BSS))
            return;
        auto report = placer->options.regions_given ? add_error : add_warning;
        report(&placer->messages,
               "%s, 0x%llx-0x%llx, lies in no region; --region NAME=RANGE makes one",
               title(*placer, block).c_str(), static_cast<unsigned long long>(first),
               static_cast<unsigned long long>(first + size - 1));
        return;
    }
    uint64_t next = uint64_t{region->range.last} + 1;
    while (next < first + size) {
        const Region *follower =
            next > ADDRESS_MAX ? nullptr : region_at(placer->options, static_cast<uint32_t>(next));
        if (follower == nullptr) {
            report_overflow(placer, *region, first + size - next);
            return;
        }
        region = follower;
        next = uint64_t{region->range.last} + 1;
    }
}

static bool is_page_bound(const Block &block)
{
    return block.attributes & SECATTR_CODE;
}

static void set_address(Block *block, uint64_t address, bool load)
{
    if (load) {
        block->load_address = static_cast<uint32_t>(address);
        block->loaded_apart = true;
    } else {
        block->address = static_cast<uint32_t>(address);
        block->placed = true;
    }
}

// Whether the addresses can be written at all.
static bool check_address_space(Placer *placer, const Block &block, uint64_t first, uint64_t size)
{
    if (first + size <= uint64_t{ADDRESS_MAX} + 1)
        return true;
    add_error(&placer->messages, "%s, %llu bytes at 0x%llx, reaches beyond the address space, 0x%x",
              title(*placer, block).c_str(), static_cast<unsigned long long>(size),
              static_cast<unsigned long long>(first), ADDRESS_MAX);
    placer->complete = false;
    return false;
}

static void place_absolute(Placer *placer)
{
    for (Block &block : placer->program.blocks) {
        if (!block.absolute)
            continue;
        const ObjectSection &section =
            section_of(placer->program, placer->program.pieces[block.pieces.front()]);
        if (!check_address_space(placer, block, section.address, block.size))
            continue;
        set_address(&block, section.address, false);
        check_regions(placer, block, block.address, block.size);
        if (is_page_bound(block) && crosses_page(block.address, block.size)) {
            add_error(&placer->messages,
                      "%s, 0x%x-0x%llx, is code and crosses a boundary of 64 KiB; its org is to "
                      "be moved",
                      title(*placer, block).c_str(), block.address,
                      static_cast<unsigned long long>(block.address + block.size - 1));
        }
        // Two files may well name the same registers.
        const bool registers = (block.attributes & SECATTR_BSS) &&
                               region_at(placer->options, block.address) == nullptr;
        if (!registers)
            take(placer, block.address, block.size, title(*placer, block));
    }
}

// The blocks that a rule is about, in its order.
static std::vector<uint32_t> blocks_of_rule(const Placer &placer, uint32_t rule)
{
    const bool load = placer.options.places[rule].load;
    std::vector<uint32_t> numbers;
    for (uint32_t number = 0; number < placer.program.blocks.size(); ++number) {
        const Block &block = placer.program.blocks[number];
        const bool meant = load ? block.load_rule == rule && has_bytes(block)
                                : block.place_rule == rule && !follows_another(placer, number);
        if (meant)
            numbers.push_back(number);
    }
    const auto position = [&](uint32_t number) {
        const Block &block = placer.program.blocks[number];
        return load ? block.load_pattern : block.place_pattern;
    };
    std::stable_sort(numbers.begin(), numbers.end(),
                     [&](uint32_t a, uint32_t b) { return position(a) < position(b); });
    return numbers;
}

// One block at its rule's address, or behind the one before it.
static void place_at(Placer *placer, const PlaceRule &rule, uint32_t number, uint64_t *next,
                     bool first)
{
    Block &block = placer->program.blocks[number];
    const uint64_t size = rule.load ? block.size : run_room(*placer, number);
    const uint64_t alignment = rule.load ? 1 : run_alignment(*placer, number);
    const bool in_page = !rule.load && is_page_bound(block);
    if (first && *next % alignment != 0) {
        add_error(&placer->messages, "%s: the address is no multiple of %llu, as %s needs",
                  rule.origin.c_str(), static_cast<unsigned long long>(alignment),
                  title(*placer, block).c_str());
    }
    uint64_t address = aligned(*next, alignment);
    if (in_page && crosses_page(address, size)) {
        if (first) {
            add_error(&placer->messages,
                      "%s: %s, %llu bytes of code, would cross a boundary of 64 KiB",
                      rule.origin.c_str(), title(*placer, block).c_str(),
                      static_cast<unsigned long long>(size));
        } else {
            address = aligned(aligned(address, PAGE_SIZE), alignment);
        }
    }
    if (!check_address_space(placer, block, address, size))
        return;
    set_address(&block, address, rule.load);
    check_regions(placer, block, address, size);
    take(placer, address, size, title(*placer, block) + (rule.load ? " (stored)" : ""));
    *next = address + size;
}

static void place_addressed(Placer *placer)
{
    for (uint32_t r = 0; r < placer->options.places.size(); ++r) {
        const PlaceRule &rule = placer->options.places[r];
        if (!rule.where.address)
            continue;
        uint64_t next = *rule.where.address;
        bool first = true;
        for (const uint32_t number : blocks_of_rule(*placer, r)) {
            place_at(placer, rule, number, &next, first);
            first = false;
        }
    }
}

// Puts the block into the first gap of the region. False if there is none.
static bool place_in_region(Placer *placer, uint32_t number, const Region &region, bool load)
{
    Block &block = placer->program.blocks[number];
    const uint64_t size = load ? block.size : run_room(*placer, number);
    const uint64_t alignment = load ? 1 : run_alignment(*placer, number);
    const auto floor =
        placer->floors[static_cast<size_t>(&region - placer->options.regions.data())];
    auto address = first_gap(*placer, floor, region.range.last, size, alignment,
                             !load && is_page_bound(block));
    // What has no size needs no room.
    if (!address && size == 0)
        address = region.range.first;
    if (!address)
        return false;
    set_address(&block, *address, load);
    take(placer, *address, size, title(*placer, block) + (load ? " (stored)" : ""));
    return true;
}

static void leave_unplaced(Placer *placer, uint32_t number, const Region &region)
{
    placer->unplaced[&region].push_back(&placer->program.blocks[number]);
    placer->complete = false;
}

static void place_by_rule(Placer *placer, uint32_t r)
{
    const PlaceRule &rule = placer->options.places[r];
    size_t at = 0;
    for (const uint32_t number : blocks_of_rule(*placer, r)) {
        // A region that was full stays behind, so that the order of the list holds.
        size_t tried = at;
        while (tried < rule.where.regions.size()) {
            const Region *region = find_region(placer->options, rule.where.regions[tried]);
            if (region == nullptr || !place_in_region(placer, number, *region, rule.load)) {
                ++tried;
                continue;
            }
            const Block &block = placer->program.blocks[number];
            const uint64_t end = (rule.load ? block.load_address : block.address) +
                                 (rule.load ? block.size : run_room(*placer, number));
            placer->floors[static_cast<size_t>(region - placer->options.regions.data())] = end;
            at = tried;
            break;
        }
        const Region *last = find_region(placer->options, rule.where.regions.back());
        if (tried == rule.where.regions.size() && last != nullptr)
            leave_unplaced(placer, number, *last);
    }
}

static void place_by_rules(Placer *placer)
{
    for (uint32_t r = 0; r < placer->options.places.size(); ++r) {
        if (!placer->options.places[r].where.address)
            place_by_rule(placer, r);
    }
}

// .data and .bsct have no attribute that tells them from constants.
static bool is_variable_by_name(const Block &block)
{
    return block.name == ".data" || block.name == ".bsct";
}

static const Region *default_region(const Options &options, const Block &block)
{
    if (block.attributes & SECATTR_ZPAGE)
        return find_region(options, "zpage");
    if ((block.attributes & SECATTR_BSS) || is_variable_by_name(block))
        return find_region(options, "ram");
    const bool far_code = (block.attributes & SECATTR_LONG) && (block.attributes & SECATTR_CODE);
    if (const Region *far = find_region(options, "far"); far != nullptr && far_code)
        return far;
    return find_region(options, "flash");
}

static void place_defaults(Placer *placer)
{
    for (uint32_t number = 0; number < placer->program.blocks.size(); ++number) {
        const Block &block = placer->program.blocks[number];
        if (block.absolute || block.place_rule != NONE || follows_another(*placer, number))
            continue;
        const Region &region = *default_region(placer->options, block);
        if (!place_in_region(placer, number, region, false))
            leave_unplaced(placer, number, region);
    }
}

static void follow_overlays(Placer *placer)
{
    for (uint32_t number = 0; number < placer->program.blocks.size(); ++number) {
        if (!follows_another(*placer, number))
            continue;
        Block &block = placer->program.blocks[number];
        const Block &leader = placer->program.blocks[block.overlay];
        if (leader.placed)
            set_address(&block, leader.address, false);
    }
}

static bool runs_in_ram(const Placer &placer, const Block &block)
{
    const Region *region = block.placed ? region_at(placer.options, block.address) : nullptr;
    return region != nullptr && region->ram;
}

static void load_defaults(Placer *placer)
{
    const Region &flash = *find_region(placer->options, "flash");
    for (uint32_t number = 0; number < placer->program.blocks.size(); ++number) {
        const Block &block = placer->program.blocks[number];
        if (!is_variable_by_name(block) || !has_bytes(block) || block.load_rule != NONE ||
            !runs_in_ram(*placer, block))
            continue;
        if (!place_in_region(placer, number, flash, true))
            leave_unplaced(placer, number, flash);
    }
}

static void report_unplaced(Placer *placer)
{
    for (const Region &region : placer->options.regions) {
        const auto &blocks = placer->unplaced[&region];
        if (blocks.empty())
            continue;
        uint64_t needed = 0;
        for (const Block *block : blocks)
            needed += block->size;
        uint64_t free = uint64_t{region.range.last} - region.range.first + 1;
        for (const auto &[first, taken] : placer->taken) {
            const uint64_t from = std::max<uint64_t>(first, region.range.first);
            const uint64_t to = std::min<uint64_t>(taken.last, region.range.last);
            free -= from <= to ? to - from + 1 : 0;
        }
        if (needed > free) {
            report_overflow(placer, region, needed - free);
            continue;
        }
        add_error(
            &placer->messages,
            "region %s, 0x%x-0x%x, has %llu bytes free, but no gap where the %llu bytes of %s "
            "can go",
            region.name.c_str(), region.range.first, region.range.last,
            static_cast<unsigned long long>(free),
            static_cast<unsigned long long>(blocks.front()->size),
            title(*placer, *blocks.front()).c_str());
    }
}

// EEPROM can be written, and RAM that a debugger loads is declared rom to have its bytes in the
// image.
static bool takes_variables(const Region &region)
{
    return region.ram || region.name == "eeprom" || region.name == "ram" || region.name == "zpage";
}

// An absolute section only names what is there. Where the regions are the default ones, they may
// not be those of the chip.
static void check_variables_in_rom(Placer *placer)
{
    auto report = placer->options.regions_given ? add_error : add_warning;
    for (const Block &block : placer->program.blocks) {
        const bool variables = (block.attributes & SECATTR_BSS) && block.size != 0;
        if (!variables || !block.placed || block.absolute)
            continue;
        const Region *region = region_at(placer->options, block.address);
        if (region != nullptr && !takes_variables(*region)) {
            report(&placer->messages,
                   "%s, %llu bytes of variables at 0x%x, lies in region %s, which is ROM",
                   title(*placer, block).c_str(), static_cast<unsigned long long>(block.size),
                   block.address, region->name.c_str());
        }
    }
}

// RAM holds nothing when the power comes.
static void check_bytes_in_ram(Placer *placer)
{
    for (const Block &block : placer->program.blocks) {
        if (!has_bytes(block) || !block.placed)
            continue;
        if (!block.loaded_apart && runs_in_ram(*placer, block) && placer->complete) {
            add_error(&placer->messages,
                      "%s has %llu bytes that would run at 0x%x, in RAM, and are stored nowhere; "
                      "--load %s=flash stores them",
                      title(*placer, block).c_str(), static_cast<unsigned long long>(block.size),
                      block.address, block.name.c_str());
        }
        const Region *stored =
            block.loaded_apart ? region_at(placer->options, block.load_address) : nullptr;
        if (stored != nullptr && stored->ram) {
            add_error(&placer->messages, "%s would be stored at 0x%x, in RAM",
                      title(*placer, block).c_str(), block.load_address);
        }
    }
}

static bool is_stored_in_place(const Block &block)
{
    return block.placed && has_bytes(block) && !block.loaded_apart;
}

// What shares a run address can't be stored there as well, but for one section.
static void check_stored_overlays(Placer *placer)
{
    std::map<uint32_t, const Block *> stored; // by the first section of the overlay
    for (const Block &block : placer->program.blocks) {
        if (block.overlay == NONE || !is_stored_in_place(block) || block.size == 0)
            continue;
        const auto [other, first] = stored.try_emplace(block.overlay, &block);
        if (!first) {
            add_error(
                &placer->messages,
                "%s shares 0x%x by --overlay with %s, and both are stored there; --load %s=flash "
                "stores it elsewhere",
                title(*placer, block).c_str(), block.address,
                title(*placer, *other->second).c_str(), block.name.c_str());
        }
    }
}

// A checksum is stored, and taken, where the chip keeps what is stored.
static void check_checksums(Placer *placer)
{
    for (const ChecksumRule &rule : placer->options.checksums) {
        for (const uint32_t address : {rule.address, rule.range.first, rule.range.last}) {
            const Region *region = region_at(placer->options, address);
            if (region != nullptr && !region->ram)
                continue;
            auto report =
                region != nullptr || placer->options.regions_given ? add_error : add_warning;
            report(&placer->messages, "--checksum: 0x%x lies in %s", address,
                   region != nullptr ? "RAM" : "no region; --region NAME=RANGE makes one");
        }
    }
}

static void check_stack(Placer *placer)
{
    const Region *ram = find_region(placer->options, "ram");
    if (!placer->options.stack_size || ram == nullptr)
        return;
    uint64_t first_free = ram->range.first;
    for (const auto &[first, taken] : placer->taken) {
        if (first <= ram->range.last)
            first_free = std::max(first_free, taken.last + 1);
    }
    const uint64_t end = uint64_t{ram->range.last} + 1;
    const uint64_t left = end > first_free ? end - first_free : 0;
    if (left < *placer->options.stack_size) {
        add_error(&placer->messages,
                  "only %llu bytes are left for the stack at the end of region ram, not %u",
                  static_cast<unsigned long long>(left), *placer->options.stack_size);
    }
}

static void reserve_checksums(Placer *placer)
{
    for (const ChecksumRule &rule : placer->options.checksums)
        take(placer, rule.address, checksum_size(rule.kind), "the checksum");
}

static void place_pieces(Program *program)
{
    for (const Block &block : program->blocks) {
        for (const uint32_t number : block.pieces) {
            InputSection &piece = program->pieces[number];
            piece.address = block.address + piece.offset;
        }
    }
}

bool place_sections(const Options &options, Program *program, Messages *messages)
{
    Placer placer{options, *program, *messages, {}, {}, {}, true};
    for (const Region &region : options.regions)
        placer.floors.push_back(region.range.first);
    reserve_checksums(&placer);
    place_absolute(&placer);
    place_addressed(&placer);
    place_by_rules(&placer);
    place_defaults(&placer);
    follow_overlays(&placer);
    load_defaults(&placer);
    report_unplaced(&placer);
    check_bytes_in_ram(&placer);
    check_variables_in_rom(&placer);
    check_stored_overlays(&placer);
    check_checksums(&placer);
    check_stack(&placer);
    place_pieces(program);
    return placer.complete;
}

SectionSpan span_of_section(const Program &program, const std::string &section)
{
    SectionSpan span;
    uint64_t end = 0;
    bool any = false;
    for (const Block &block : program.blocks) {
        if (block.name != section)
            continue;
        const uint32_t load = block.loaded_apart ? block.load_address : block.address;
        if (!block.absolute && !block.apart)
            return {block.address, static_cast<uint32_t>(block.size), load};
        if (!any || block.address < span.start) {
            span.start = block.address;
            span.load = load;
        }
        end = std::max(end, block.address + block.size);
        any = true;
    }
    span.size = static_cast<uint32_t>(end - span.start);
    return span;
}

// The allocator of the whole program. It never reports failure, so no caller handles it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>

// Bounds what the process may hold at once to `size` bytes more than it holds now, heads included.
// 2 GiB before the first call; fuzzers set it.
void bound_memory(size_t size);

// Gives a block of at least `size` bytes (and at least one pointer), with `first_word` in its first
// word and the rest uninitialised: a list node is linked at birth. When the host has no more
// memory, or when the bound is reached, writes "no memory\n" to standard error and
// ends the process with status 1.
void *xalloc(size_t size, void *first_word);

// Has `hook` called ahead of "no memory"; null for nothing. For who holds text back that the user
// is to see.
void set_exhaustion_hook(void (*hook)());

// Has `hook` called after "no memory", to say more.
void set_exhaustion_epilogue(void (*hook)());

// Ends the process as exhausted memory does.
[[noreturn]] void out_of_memory();

// Ends the process so at once when `size` bytes more can't be held, instead of after filling what
// there is.
void require_memory(uint64_t size);

// Frees a block of xalloc (null is allowed).
void free_block(void *block);

// Frees `block` and returns `value`, so that a list is walked by assignment:
// node = xfree(node, node->next).
template <typename Value> Value xfree(void *block, Value value)
{
    free_block(block);
    return value;
}

// A record of type Node with `extra` bytes of room after it. All of it is zero but the first
// field, which must be a pointer (the link of its list) and receives `first`.
template <typename Node> Node *new_node(void *first, size_t extra = 0)
{
    static_assert(std::is_trivially_copyable_v<Node>);
    void *block = xalloc(sizeof(Node) + extra, nullptr);
    std::memset(block, 0, sizeof(Node) + extra);
    std::memcpy(block, &first, sizeof first);
    return static_cast<Node *>(block);
}

// A zero-terminated copy of `text` in a block of its own.
char *copy_text(std::string_view text);

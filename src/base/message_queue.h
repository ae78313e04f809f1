// Messages on their way to the user under --explain: gathered, and told once, in the order of the
// source.
#pragma once

#include <cstdint>
#include <string>

struct Message {
    uint32_t ordinal;  // line_ordinal of what it is about
    std::string line;  // the message itself, with its newline
    std::string notes; // lines of notes
};

void queue_message(Message message);

// The messages queued so far, in order, without those that the run has shown already.
std::string take_queued_messages();

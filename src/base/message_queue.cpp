// A message that comes again, as from a further pass or a second source file with the same include
// file, says nothing new: its first notes stand.

#include "base/message_queue.h"

#include <algorithm>
#include <set>
#include <utility>
#include <vector>

static std::vector<Message> queue;
static std::set<std::string> shown;

void queue_message(Message message)
{
    if (shown.insert(message.line).second)
        queue.push_back(std::move(message));
}

std::string take_queued_messages()
{
    std::ranges::stable_sort(queue, {}, &Message::ordinal);
    std::string text;
    for (const Message &message : queue)
        text += message.line + message.notes;
    queue.clear();
    return text;
}

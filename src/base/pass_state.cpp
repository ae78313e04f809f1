// The flags that drive the loop of driver/passes.cpp. They lie on the lowest floor, since whoever
// defines a name may find that the pass at hand is void.

#include "base/pass_state.h"

int32_t pass_number;
bool pass_must_repeat;
int32_t error_count;
uint32_t void_requests;

static bool sizing_repeated;
static void (*target_pass_hook)();

// What looks wrong only because a symbol comes late is right a pass later: more void passes with
// errors than these, and the errors are real. Passes that differ in their text from the one before
// have found something new and count less.
constexpr int32_t FORGIVENESS = 800;
constexpr int32_t FORGIVENESS_OF_LIKE_PASS = 100;
constexpr int32_t FORGIVENESS_OF_UNLIKE_PASS = 8;
static int32_t forgiveness_left;

static int32_t errors_at_head;

// A fingerprint of what decided which text the pass at hand assembles, and that of the pass before.
constexpr uint64_t TEXT_DECISIONS_SEED = 0x9E3779B97F4A7C15;
static uint64_t text_decisions;
static uint64_t last_text_decisions;
static bool unlike_passes;
static bool text_changed;

bool is_sizing_repeated()
{
    return sizing_repeated;
}

void set_target_pass_hook(void (*hook)())
{
    target_pass_hook = hook;
}

void reset_passes_for_file()
{
    pass_number = 0;
    error_count = 0;
    sizing_repeated = false;
    unlike_passes = false;
}

void restart_passes()
{
    pass_number = 0;
    error_count = 0;
    sizing_repeated = true;
}

void begin_pass()
{
    pass_must_repeat = false;
    errors_at_head = error_count;
    text_decisions = TEXT_DECISIONS_SEED;
    if (target_pass_hook != nullptr)
        target_pass_hook();
}

static bool forgives()
{
    return forgiveness_left > 0;
}

void end_pass()
{
    text_changed = text_decisions != last_text_decisions;
    if (pass_must_repeat && forgives() && error_count != errors_at_head) {
        error_count = errors_at_head;
        forgiveness_left -= text_changed ? FORGIVENESS_OF_UNLIKE_PASS : FORGIVENESS_OF_LIKE_PASS;
    }
    if (pass_number != 0 && text_changed)
        unlike_passes = true;
    last_text_decisions = text_decisions;
    ++pass_number;
}

bool values_must_settle()
{
    return pass_number != 0 && (error_count == 0 || pass_number == 1 || forgives());
}

bool uses_must_settle()
{
    return pass_number != 0 && (error_count == 0 || forgives());
}

void request_another_pass()
{
    pass_must_repeat = true;
    ++void_requests;
}

void forgive_void_passes(bool forgive)
{
    forgiveness_left = forgive ? FORGIVENESS : 0;
}

void note_text_decision(uint32_t decision)
{
    text_decisions = mix(text_decisions, uint64_t{decision} + 1);
}

void note_unlike_passes()
{
    unlike_passes = true;
}

bool text_has_changed()
{
    return text_changed;
}

bool passes_differ()
{
    return unlike_passes;
}

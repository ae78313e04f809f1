// Titles are gathered in the sizing pass, so that a page can have the title that stands within it.

#include "listing/titles.h"

#include "base/memory.h"
#include "base/position.h"

struct TitleRecord {
    TitleRecord *next;
    uint32_t line; // line_ordinal of the directive
    char *text;    // in a block of its own
};

// Titles in source order, and the one that pages have come to.
struct TitleList {
    TitleRecord *head;
    TitleRecord *last;
    TitleRecord *current;
};
static TitleList titles;
static TitleList subtitles;

static void forget(TitleList *list)
{
    while (list->head != nullptr) {
        free_block(list->head->text);
        list->head = xfree(list->head, list->head->next);
    }
    list->last = nullptr;
}

void forget_titles()
{
    forget(&titles);
    forget(&subtitles);
}

void rewind_titles()
{
    titles.current = titles.head;
    subtitles.current = subtitles.head;
}

static void remember(TitleList *list, std::string_view text)
{
    auto *record = new_node<TitleRecord>(nullptr);
    record->line = line_ordinal;
    record->text = copy_text(text);
    if (list->last != nullptr)
        list->last->next = record;
    else
        list->head = record;
    list->last = record;
}

void remember_title(std::string_view text)
{
    remember(&titles, text);
}

void remember_subtitle(std::string_view text)
{
    remember(&subtitles, text);
}

static void advance(TitleList *list, uint32_t line)
{
    while (list->current != nullptr && list->current->next != nullptr &&
           line >= list->current->next->line)
        list->current = list->current->next;
}

void advance_titles(uint32_t line)
{
    advance(&titles, line);
    advance(&subtitles, line);
}

static const char *in_force(const TitleList &list, uint32_t line)
{
    return list.current != nullptr && list.current->line <= line ? list.current->text : nullptr;
}

const char *title_in_force(uint32_t line)
{
    return in_force(titles, line);
}

const char *subtitle_in_force(uint32_t line)
{
    return in_force(subtitles, line);
}

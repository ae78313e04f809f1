// The names that belong to the source file being assembled, and the time stamp of the run.
#pragma once

#include <string>

// The source file as named on the command line. Set for each source file.
extern const char *source_file_name;

// The files made from it; the listing's is null unless a listing is asked for. Set by
// derive_file_names.
extern const char *object_file_name;
extern const char *listing_file_name;

// "dd Mmm yyyy hh:mm", formed once per run: local time or, with SOURCE_DATE_EPOCH in the
// environment, that moment in UTC.
extern char time_stamp[20];

// The names of the object and of the listing, if it has one, that a source file gets.
std::string object_name_of(const char *source);
std::string listing_name_of(const char *source);

// Derives the names from source_file_name.
void derive_file_names();

// `name` after its last "/" or "\".
const char *without_directory(const char *name);

// Two small outputs beside the listing: the dependency rule of -md and the Verilog file of +v.
#pragma once

#include <string_view>

// Begins the dependency rule of an object on standard output.
void begin_rule(const char *object_name);

// Adds a file to the dependency rule on standard output.
void add_dependency(const char *path);

// The Verilog file is made together with the listing. One that can't be created is reported and not
// tried again.
// Whether there is one, in this pass or another.
bool has_verilog();
void open_verilog();

// Forgets what a pass has made, or puts it in place.
void drop_verilog();
void close_verilog();

// Writes text to the Verilog file, if it is open.
void write_verilog_line(std::string_view text);

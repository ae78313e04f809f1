// Every file of the run, so that no output falls on an input or on another output, whatever the
// names are.
#pragma once

// The outputs, in the order in which they give way to those before them: an object never does to a
// listing, so that what stands under the name of an object is one.
enum class OutputKind { OBJECT, LISTING, VERILOG, DEPENDENCIES, ERRORS };

// Notes a file that is read, or will be.
void note_input(const char *path);

// Notes an output ahead of time. `source` is the source file that it belongs to, the pointer itself
// being the key, or null for one of the whole run. Claims come in the order of OutputKind.
void claim_output(OutputKind kind, const char *source, const char *path);

// Whether the output would fall on an input, or on an output claimed ahead of it.
bool falls_on_another(OutputKind kind, const char *source, const char *path);

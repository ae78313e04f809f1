// How outputs come into being: object, listing, Verilog file and the error file of +e are made in
// memory, compared with the other files of the run, and put in place whole.
#pragma once

#include "base/file_register.h"
#include "base/host.h"
#include <span>

struct ByteStream;

// Claims the outputs and notes the inputs of the run as far as the command line names them. Comes
// after the options that are implied.
void claim_run_files(std::span<char *const> sources);

// Whether an output of the current source file can be created. If not, or when it falls on another
// file of the run, reports so on standard error; no error is counted.
bool can_create_output(OutputKind kind, const char *name);

// Puts an output of the current source file in place. When that fails, reports so on standard
// error and counts an error. A file that has turned out to be an input meanwhile can't be created.
void place_output(OutputKind kind, const char *name, std::span<const Piece> pieces);
void place_output(OutputKind kind, const char *name, const ByteStream &contents);

// Gathers the diagnostics from now on, if there is a +e. False, with the reason printed, if its
// file can't be created.
bool open_error_file();

// Puts the file of +e in place at the end of a run with errors or warnings; at the end of one
// without, deletes what an earlier run has left under its name. False if the diagnostics could not
// be written: they then go to standard error.
bool close_error_file(bool any_errors);

// Hands over what was printed on standard output. False, with the reason printed once, if that
// failed.
bool flush_standard_output();

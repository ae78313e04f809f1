// From the words of the command line to the settings.
#pragma once

// Parses the command line into the variables above and leaves the source files in *argc, *argv.
void read_settings(int *argc, char ***argv);

// Applies what options imply and needs no file: -xx sets -x, -x clears -p, -mi sets -m, -md clears
// -l, in this order; --warn=error sets --warn.
void imply_settings();

// Applies what options imply for the listing: -c, +l and -u set -l; +v sets -l and -a. Comes after
// imply_settings, so that "-md -c" leaves -l set (to no effect).
void imply_listing();

// Turns include_list from paths as typed, then those of NVLIB, into directories.
void make_include_list();

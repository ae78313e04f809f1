// Warnings that only the whole source shows.
#pragma once

// Warns of names after the last pass: those that xdef names and nothing defines, those of xref that
// nothing uses, and those that differ from others in case alone.
void warn_of_names();

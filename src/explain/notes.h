// The notes of --explain.
#pragma once

// Has every message get its notes from here on.
void install_notes();

// The last text of the section .info.: which settings the object was made with.
#pragma once

// Appends the tool's name and version and the settings in force. Once per source file, after the
// last pass.
void write_option_record();

# First of the four files by which CMake learns a language: finds the programs. What it finds is kept
# in the build tree by CMakeASM_NVASM8Compiler.cmake.

find_program(CMAKE_ASM_NVASM8_COMPILER nvasm8 HINTS "${nvasm8_ASSEMBLER}" "$ENV{NVASM8}"
    DOC "The assembler nvasm8")
find_program(CMAKE_ASM_NVASM8_LINKER nvlink8 HINTS "${nvasm8_LINKER}" "$ENV{NVLINK8}"
    DOC "The linker nvlink8")
# Only static libraries need it, so a machine without one can still build firmware.
find_program(CMAKE_AR ar DOC "Makes static libraries")
mark_as_advanced(CMAKE_ASM_NVASM8_COMPILER CMAKE_ASM_NVASM8_LINKER CMAKE_AR)

configure_file("${CMAKE_CURRENT_LIST_DIR}/CMakeASM_NVASM8Compiler.cmake.in"
    "${CMAKE_PLATFORM_INFO_DIR}/CMakeASM_NVASM8Compiler.cmake" @ONLY)

# Last of the files of a language: are the programs usable? CMake stops if they weren't found; an
# assembler of another version that doesn't know the options used here is told apart by --version.

if(NOT CMAKE_ASM_NVASM8_LINKER)
    message(FATAL_ERROR "nvlink8 was not found; set CMAKE_ASM_NVASM8_LINKER")
endif()
execute_process(COMMAND "${CMAKE_ASM_NVASM8_COMPILER}" --version
    RESULT_VARIABLE nvasm8_status OUTPUT_QUIET ERROR_QUIET)
if(NOT nvasm8_status EQUAL 0)
    message(FATAL_ERROR "${CMAKE_ASM_NVASM8_COMPILER} doesn't run as an assembler (--version gives "
        "${nvasm8_status})")
endif()
unset(nvasm8_status)
set(CMAKE_ASM_NVASM8_COMPILER_WORKS 1 CACHE INTERNAL "")

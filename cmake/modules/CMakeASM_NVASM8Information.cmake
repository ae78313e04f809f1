# How CMake calls nvasm8 and nvlink8.

# main.s becomes main.o, so that "main.o:.text" means the same in layouts however a program is built.
set(CMAKE_ASM_NVASM8_OUTPUT_EXTENSION .o)
set(CMAKE_ASM_NVASM8_OUTPUT_EXTENSION_REPLACE 1)
set(CMAKE_EXECUTABLE_SUFFIX_ASM_NVASM8 .hex)

set(CMAKE_INCLUDE_FLAG_ASM_NVASM8 -i)
set(CMAKE_INCLUDE_SYSTEM_FLAG_ASM_NVASM8 -i)
set(CMAKE_ASM_NVASM8_DEFINE_FLAG -d)

# The first is for make, the second for ninja.
set(CMAKE_ASM_NVASM8_DEPENDS_USE_COMPILER TRUE)
set(CMAKE_ASM_NVASM8_DEPFILE_FORMAT gcc)
set(CMAKE_DEPFILE_FLAGS_ASM_NVASM8 "--depfile=<DEP_FILE>")

set(CMAKE_ASM_NVASM8_FLAGS_INIT "$ENV{NVASM8FLAGS} ${CMAKE_ASM_NVASM8_FLAGS_INIT}")
cmake_initialize_per_config_variable(CMAKE_ASM_NVASM8_FLAGS "Options for nvasm8")

# An object that can't be created leaves the status 0, so an old one must not be there to be linked.
set(CMAKE_ASM_NVASM8_COMPILE_OBJECT
    "rm -f <OBJECT>"
    "<CMAKE_ASM_NVASM8_COMPILER> <DEFINES> <INCLUDES> <FLAGS> -o <OBJECT> <SOURCE>")

# nvlink8 takes the members that it needs from an archive without an index, too. Without time stamps
# equal objects make equal archives.
set(CMAKE_ASM_NVASM8_CREATE_STATIC_LIBRARY
    "rm -f <TARGET>"
    "<CMAKE_AR> rcD <TARGET> <LINK_FLAGS> <OBJECTS>")

# An option that stands ahead of -o, as --only, counts for the image.
set(CMAKE_ASM_NVASM8_LINK_EXECUTABLE
    "\"${CMAKE_ASM_NVASM8_LINKER}\" <LINK_FLAGS> -o <TARGET> <OBJECTS> <LINK_LIBRARIES>")

set(CMAKE_ASM_NVASM8_INFORMATION_LOADED 1)

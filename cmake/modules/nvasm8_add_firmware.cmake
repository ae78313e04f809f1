#[[
    nvasm8_add_firmware(<target> [<source>...]
        [SOURCES <source>...] [LINK <library>...]
        [DEVICE <name>] [LAYOUT <file>...] [OPTIONS <option>...]
        [HEX <file>] [MAP <file>] [SREC <file>] [BIN <file>])

An executable target that nvlink8 links: <target>.hex and <target>.map in the binary directory, or
as HEX and MAP say. LINK takes what target_link_libraries() takes, LAYOUT files that nvlink8 reads as
@file, OPTIONS any other options of nvlink8. Relative outputs are put into the binary directory.
]]
function(nvasm8_add_firmware target)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "DEVICE;HEX;MAP;SREC;BIN" "SOURCES;LINK;LAYOUT;OPTIONS")
    if(arg_KEYWORDS_MISSING_VALUES)
        message(FATAL_ERROR "nvasm8_add_firmware(${target}): no value for ${arg_KEYWORDS_MISSING_VALUES}")
    endif()
    get_property(languages GLOBAL PROPERTY ENABLED_LANGUAGES)
    if(NOT "ASM_NVASM8" IN_LIST languages)
        message(FATAL_ERROR "nvasm8_add_firmware(${target}): enable_language(ASM_NVASM8) is missing")
    endif()
    if(NOT arg_HEX)
        set(arg_HEX ${target}.hex)
    endif()
    if(NOT arg_MAP)
        set(arg_MAP ${target}.map)
    endif()

    add_executable(${target} ${arg_UNPARSED_ARGUMENTS} ${arg_SOURCES})
    target_link_libraries(${target} PRIVATE ${arg_LINK})

    cmake_path(ABSOLUTE_PATH arg_HEX BASE_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}" NORMALIZE)
    cmake_path(GET arg_HEX PARENT_PATH directory)
    cmake_path(GET arg_HEX STEM LAST_ONLY stem)
    cmake_path(GET arg_HEX EXTENSION LAST_ONLY extension)
    # The generator expression keeps generators of several configurations from adding their names.
    set_target_properties(${target} PROPERTIES
        LINKER_LANGUAGE ASM_NVASM8
        RUNTIME_OUTPUT_DIRECTORY "$<1:${directory}>"
        OUTPUT_NAME "${stem}"
        SUFFIX "${extension}")

    set(options)
    if(arg_DEVICE)
        list(APPEND options "--device=${arg_DEVICE}")
    endif()
    foreach(layout IN LISTS arg_LAYOUT)
        cmake_path(ABSOLUTE_PATH layout NORMALIZE)
        list(APPEND options "@${layout}")
        set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS "${layout}")
    endforeach()
    list(APPEND options ${arg_OPTIONS})

    set(byproducts)
    foreach(output IN ITEMS MAP SREC BIN)
        if(arg_${output})
            cmake_path(ABSOLUTE_PATH arg_${output} BASE_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}" NORMALIZE)
            list(APPEND byproducts "${arg_${output}}")
            cmake_path(GET arg_${output} PARENT_PATH directory)
            file(MAKE_DIRECTORY "${directory}")
        endif()
    endforeach()
    list(APPEND options "--map=${arg_MAP}")
    foreach(image IN ITEMS SREC BIN)
        if(arg_${image})
            string(TOLOWER ${image} format)
            list(APPEND options "--format=${format}" "-o${arg_${image}}")
        endif()
    endforeach()
    list(APPEND options --format=ihex)
    _nvasm8_link_options(${target} "${options}")

    # Does nothing but tell who makes these files.
    add_custom_command(TARGET ${target} POST_BUILD COMMAND ${CMAKE_COMMAND} -E true
        BYPRODUCTS ${byproducts})
endfunction()

# CMake drops options that it has seen already, and so would take the second --place from its value;
# it leaves alone what is handed over as one piece.
function(_nvasm8_link_options target options)
    set(words)
    foreach(option IN LISTS options)
        string(REGEX REPLACE "([\\\"])" "\\\\\\1" option "${option}")
        string(APPEND words " \"${option}\"")
    endforeach()
    target_link_options(${target} PRIVATE "SHELL:${words}")
endfunction()

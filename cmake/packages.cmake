# What cpack makes: a .deb and a .tar.gz of the programs and, by the target package_source or with
# CPackSourceConfig.cmake, an archive of the sources.

set(CPACK_GENERATOR TGZ)
find_program(DPKG dpkg)
mark_as_advanced(DPKG)
if(DPKG)
    list(APPEND CPACK_GENERATOR DEB)
endif()
set(CPACK_PACKAGE_VENDOR "The nvasm8 authors")
set(CPACK_PACKAGE_CONTACT "The nvasm8 authors <nvasm8@users.noreply.invalid>")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
string(TOLOWER ${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR} system)
set(CPACK_PACKAGE_FILE_NAME nvasm8-${PROJECT_VERSION}-${system})
set(CPACK_STRIP_FILES ON)
# umask doesn't show in packages.
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "The assembler nvasm8 makes relocatable objects of STM8 sources, with macros, listings
and branches that get the shortest form that reaches. The linker nvlink8 places
objects and libraries in the memories of a chip and writes the image to be flashed.
The viewer nvobj8 shows what an object holds. Layouts of the STM8 parts, the language
ASM_NVASM8 for CMake, the manual and examples are included.")
# ar makes libraries; the simulator runs what was linked; cmake and make build projects.
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "binutils, cmake (>= 3.25), make, sdcc-ucsim")
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/finish_debian_package.cmake)
if(NOT program_link_options STREQUAL "-static")
    # Else the programs need nothing at all.
    find_program(SHLIBDEPS dpkg-shlibdeps)
    mark_as_advanced(SHLIBDEPS)
    if(SHLIBDEPS)
        set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
    endif()
endif()

# The patterns see whole paths, so they begin with that of the tree: a build-something above it is
# none of theirs.
set(CPACK_SOURCE_GENERATOR TGZ)
set(CPACK_SOURCE_PACKAGE_FILE_NAME nvasm8-${PROJECT_VERSION})
string(REGEX REPLACE "([][+.*()^$?|\\])" "\\\\\\1" tree "${PROJECT_SOURCE_DIR}")
string(REGEX REPLACE "([][+.*()^$?|\\])" "\\\\\\1" build_tree "${PROJECT_BINARY_DIR}")
set(CPACK_SOURCE_IGNORE_FILES
    "^${build_tree}/"
    "^${tree}/build(-[^/]*)?/"
    "^${tree}/\\.(git|cache|vscode|idea)(/|$)"
    "^${tree}/(compile_commands|CMakeUserPresets)\\.json$"
    "^${tree}/nvasm8[-_][^/]*\\.(tar\\.gz|deb)$"
    "^${tree}/_CPack_Packages/"
    "^${tree}/examples/.*\\.([oad]|ls|hex|map)$"
    "/__pycache__/"
    "\\.sw[a-p]$"
    "~$")
set(CPACK_VERBATIM_VARIABLES TRUE)
include(CPack)

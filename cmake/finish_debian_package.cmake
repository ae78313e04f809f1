# Runs after everything was installed into the tree that cpack packs: what a Debian package has besides,
# or in another form, than other installations.
if(NOT CPACK_GENERATOR STREQUAL "DEB")
    return()
endif()

set(share "${CPACK_TEMPORARY_DIRECTORY}/usr/share")
set(documents "${share}/doc/nvasm8")

# The licence under the name where Debian looks for it; README.md links to the other.
file(READ "${documents}/LICENSE" licence)
string(REPLACE "\n\n" "\n.\n" licence "${licence}")
string(REGEX REPLACE "\n([^\n])" "\n \\1" licence "${licence}")
file(WRITE "${documents}/copyright" "Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/
Upstream-Name: nvasm8

Files: *
Copyright: The nvasm8 authors
License: Expat

License: Expat
 ${licence}")

string(TIMESTAMP now "%a, %d %b %Y %H:%M:%S +0000" UTC)
set(version ${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})
file(WRITE "${documents}/changelog.Debian" "nvasm8 (${version}) unstable; urgency=medium

  * Package of version ${CPACK_PACKAGE_VERSION}; CHANGELOG.md tells what changed.

 -- ${CPACK_PACKAGE_CONTACT}  ${now}
")

# So that nobody takes for an oversight what speed asked for.
file(WRITE "${share}/lintian/overrides/nvasm8"
    "# Most of what a small source costs would be the dynamic linker's.\n"
    "nvasm8: statically-linked-binary\n"
    "# README.md links to it.\n"
    "nvasm8: extra-license-file\n")

file(GLOB pages "${share}/man/man1/*.1")
execute_process(COMMAND gzip -9nf ${pages} "${documents}/changelog.Debian" COMMAND_ERROR_IS_FATAL ANY)
file(GLOB_RECURSE files "${documents}/*" "${share}/lintian/*" "${share}/man/*")
file(CHMOD ${files} PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)

# What the scripts share: it finds or installs the tools and makes the build in build/.
# Sourced by bash from the root of the source tree, never run.
# shellcheck shell=bash

jobs=$(nproc)

# Says what comes next.
step()
{
    printf '\n==> %s\n' "$*"
}

fail()
{
    printf '%s: %s\n' "$0" "$*" >&2
    exit 1
}

# Can the tool of this Debian package be used? A tool counts wherever it comes from; a library
# counts when the compiler finds it.
have()
{
    case $1 in
    libgtest-dev)
        echo '#include <gtest/gtest.h>' | g++ -E -x c++ - >/dev/null 2>&1
        ;;
    libclang-rt-dev)
        echo 'extern "C" int LLVMFuzzerTestOneInput(const char *, unsigned long) { return 0; }' |
            clang++ -fsanitize=fuzzer,address -o /dev/null -x c++ - >/dev/null 2>&1
        ;;
    clang)
        command -v clang++ >/dev/null
        ;;
    sdcc-ucsim)
        command -v sstm8 >/dev/null
        ;;
    *)
        command -v "$1" >/dev/null
        ;;
    esac
}

# Installs those of the given Debian packages that are missing, as root or through a sudo that asks
# for no password. Ends the script with one line that names the packages when that can't be done.
need_packages()
{
    local package missing=() as_root=()
    for package; do
        have "$package" || missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || return 0

    if [ "$(id -u)" -ne 0 ]; then
        as_root=(sudo -n)
        sudo -n true 2>/dev/null || cannot_install "${missing[@]}"
    fi
    command -v apt-get >/dev/null || cannot_install "${missing[@]}"

    step "Installing ${missing[*]}"
    # A bare environment lacks the directories where the package tools look for each other.
    as_root+=(env DEBIAN_FRONTEND=noninteractive
        "PATH=$PATH:/usr/local/sbin:/usr/sbin:/sbin" apt-get -qq)
    "${as_root[@]}" update || cannot_install "${missing[@]}"
    "${as_root[@]}" install -y --no-install-recommends "${missing[@]}" ||
        cannot_install "${missing[@]}"
}

cannot_install()
{
    fail "can't install what is missing; please install these packages: $*"
}

# Release build of the given targets ("all" is everything) in build/. Warnings stop it where
# WARNINGS_ARE_ERRORS says ON.
build_release()
{
    need_packages g++ cmake make libgtest-dev
    step "Building in $PWD/build"
    cmake -B build -DCMAKE_BUILD_TYPE=Release -DBUILD_TESTING=ON \
        -DCMAKE_COMPILE_WARNING_AS_ERROR="${WARNINGS_ARE_ERRORS:-OFF}"
    cmake --build build --parallel "$jobs" --target "$@"
}
